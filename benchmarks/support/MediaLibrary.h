// A made-up music library as an XML property list: the kind of file that is large in practice. The same size gives the
// same text each time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace bench {

class MediaLibrary {
 public:
  // About `bytes` of text.
  static std::string xml(std::size_t bytes) { return MediaLibrary().write(bytes); }

 private:
  std::string write(std::size_t bytes) {
    out_.reserve(bytes + 4096);
    out_ +=
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
        "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
        "<plist version=\"1.0\">\n<dict>\n";
    line(1, "<key>Major Version</key><integer>1</integer>");
    line(1, "<key>Date</key><date>2011-06-23T08:30:12Z</date>");
    line(1, "<key>Application Version</key><string>10.3.1</string>");
    line(1, "<key>Show Content Ratings</key><true/>");
    line(1, "<key>Tracks</key>");
    line(1, "<dict>");
    std::size_t tracks = 0;
    while (out_.size() + tracks * kPlaylistEntry < bytes) track(1000 + 2 * tracks++);
    line(1, "</dict>");
    playlist(tracks);
    out_ += "</dict>\n</plist>\n";
    return std::move(out_);
  }

  void track(std::size_t id) {
    char text[64];
    std::snprintf(text, sizeof text, "<key>%zu</key>", id);
    line(2, text);
    line(2, "<dict>");
    integer("Track ID", id);
    string("Name", words(3));
    string("Artist", words(2));
    string("Album Artist", words(2));
    string("Album", words(4));
    string("Genre", kGenres[next() % 8]);
    string("Kind", "MPEG audio file");
    integer("Size", 2000000 + next() % 9000000);
    integer("Total Time", 90000 + next() % 400000);
    integer("Track Number", 1 + next() % 20);
    integer("Track Count", 20);
    integer("Year", 1950 + next() % 70);
    date("Date Modified");
    date("Date Added");
    integer("Bit Rate", 320);
    integer("Sample Rate", 44100);
    integer("Play Count", next() % 100);
    boolean("Compilation", next() % 4 == 0);
    std::snprintf(text, sizeof text, "%08X%08X", next(), next());
    string("Persistent ID", text);
    string("Track Type", "File");
    string("Location",
           "file://localhost/Users/somebody/Music/Library/" + words(1) + "/" + words(1) + "/" + words(1) + ".mp3");
    line(2, "</dict>");
  }

  void playlist(std::size_t tracks) {
    line(1, "<key>Playlists</key>");
    line(1, "<array>");
    line(2, "<dict>");
    line(3, "<key>Name</key><string>Everything</string>");
    line(3, "<key>Playlist Items</key>");
    line(3, "<array>");
    for (std::size_t track = 0; track < tracks; ++track) {
      char text[80];
      std::snprintf(text, sizeof text, "<dict><key>Track ID</key><integer>%zu</integer></dict>", 1000 + 2 * track);
      line(4, text);
    }
    line(3, "</array>");
    line(2, "</dict>");
    line(1, "</array>");
  }

  void line(unsigned depth, std::string_view text) { out_.append(depth, '\t').append(text) += '\n'; }
  void entry(std::string_view key, std::string_view tag, std::string_view text) {
    out_.append(3, '\t').append("<key>").append(key).append("</key><").append(tag).append(">");
    out_.append(text).append("</").append(tag).append(">\n");
  }
  void string(std::string_view key, std::string_view text) { entry(key, "string", text); }
  void integer(std::string_view key, std::size_t value) { entry(key, "integer", std::to_string(value)); }
  void boolean(std::string_view key, bool value) {
    out_.append(3, '\t').append("<key>").append(key).append(value ? "</key><true/>\n" : "</key><false/>\n");
  }
  void date(std::string_view key) {
    char text[80];
    std::snprintf(text, sizeof text, "20%02u-%02u-%02uT%02u:%02u:%02uZ", next() % 25, 1 + next() % 12, 1 + next() % 28,
                  next() % 24, next() % 60, next() % 60);
    entry(key, "date", text);
  }

  // Now and then a word is not ASCII or needs an entity.
  std::string words(unsigned count) {
    static constexpr std::string_view kWords[] = {
        "Midnight", "River",   "of",     "the",  "Silver", "Caf\xC3\xA9", "Dream", "Rock", "Roll",  "Songs",
        "Live",     "B&amp;W", "Winter", "Road", "Blue",   "Train",       "Heart", "Moon", "Light", "Stone"};
    std::string result;
    for (unsigned at = 0; at < count; ++at) {
      if (at != 0) result += ' ';
      result += kWords[next() % 20];
    }
    return result;
  }

  unsigned next() {
    state_ = state_ * 6364136223846793005U + 1442695040888963407U;
    return static_cast<unsigned>(state_ >> 33);
  }

  static constexpr std::size_t kPlaylistEntry = 62;
  static constexpr std::string_view kGenres[] = {"Rock", "Jazz",  "Classical", "Electronic",
                                                 "Folk", "Blues", "Soul",      "Pop"};

  std::string out_;
  std::uint64_t state_ = 42;
};

}  // namespace bench
