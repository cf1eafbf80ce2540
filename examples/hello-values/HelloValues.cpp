// Makes values from the host's own types, reads them back, changes them, compares them and prints them.
#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Data.h>
#include <ZtFoundation/platform/Date.h>
#include <ZtFoundation/platform/Dictionary.h>

#include <iostream>
#include <string>

using namespace ZtFoundation;

namespace {

Ref<NSMutableDictionary> makeAlbum() {
  return NSMutableDictionary::of({
      {"Title", "Grüße aus Köln"},
      {"Year", 1998},
      {"Live", true},
      {"Recorded", NSDate::dateWithTimeIntervalSince1970(896'000'000)},
      {"Cover", NSData::dataWithBytes("\x89PNG")},
      {"Tracks", NSArray::of(NSDictionary::of({{"Name", "Dom"}, {"Seconds", 241.5}}),
                             NSDictionary::of({{"Name", "流れ"}, {"Seconds", 199}}))},
  });
}

void printTracks(const Ref<NSDictionary>& album) {
  double total = 0;
  for (const auto& track : each<NSDictionary>(album->get<NSArray>("Tracks"))) {
    const double seconds = track->get<double>("Seconds").value_or(0);
    std::cout << "  " << track->get<std::string>("Name").value_or("untitled") << ", " << seconds << " s\n";
    total += seconds;
  }
  std::cout << "  " << total << " s in all\n";
}

}  // namespace

int main() {
  const Ref<NSMutableDictionary> album = makeAlbum();
  std::cout << album->get<std::string>("Title").value_or("untitled") << "\n";
  printTracks(album);

  std::cout << "second track: " << valueAt<std::string>(album, "Tracks", 1, "Name").value_or("none") << "\n";
  std::cout << "third track: " << valueAt<std::string>(album, "Tracks", 2, "Name").value_or("none") << "\n";

  const Ref<NSDictionary> before = album->copy();
  album->setObject_forKey(1999, "Year");
  album->removeObjectForKey("Live");
  std::cout << (isEqual(album, before) ? "unchanged" : "changed") << "\n";

  for (const auto& [key, value] : *album) std::cout << key << " = " << value << "\n";
}
