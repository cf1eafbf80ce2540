// The steps of docs/tour.md, which shows their lines and what they print.
#pragma once

namespace tour {

void values();
void firstStart();
void defaults();
void save();
void failToSave();
void readBroken();
void share();
void iniText();
void convert();
void settingsFolder();
void logging();
void sorting();
void copyToFreeName();
void resources();
void package();

}  // namespace tour
