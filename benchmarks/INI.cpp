// INI text: reading it into sections beside the bare parse of inih, whose callback does no more than look at what it is
// given, and beside SimpleIni and GKeyFile, which keep what they read and write it as well.

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

#include <ZtFoundation/PropertyLists.h>

#include "support/Report.h"

#if ZT_BENCH_HAS_INIH
#include <ini.h>
#endif
#if ZT_BENCH_HAS_SIMPLEINI
#define SI_CONVERT_ICU  // Debian lacks a header of the converter it takes otherwise; bytes are not converted anyway
#include <SimpleIni.h>
#endif
#if ZT_BENCH_HAS_GLIB
#include <glib.h>
#endif

using namespace ZtFoundation;

namespace {

using bench::processorMilliseconds;
using bench::require;
using bench::Samples;

// Settings of many windows: a dozen entries each, numbers, switches, titles and paths. `title` comes into each.
std::string settingsText(std::size_t size, const std::string& title) {
  std::string text;
  text.reserve(size + 1024);
  for (unsigned window = 0; text.size() < size; ++window) {
    const std::string number = std::to_string(window);
    text +=
        "[Window " + number + "]\nTitle=" + title + " " + number + "\nPath=/home/alice/documents/" + number + ".txt\n";
    for (const char* key : {"Left", "Top", "Width", "Height"}) text += std::string(key) + "=" + number + "\n";
    text += "Visible=1\nZoomed=0\nFont=\"Sans 13\"\nScroll position=" + number +
            "\nRecent search=needle\n; saved by hand\n\n";
  }
  return text;
}

Ref<NSObject> readOurs(const Ref<NSData>& data) {
  QvPropertyListFormat format = QvPropertyListINIFormat;
  return QvPropertyListSerialization::propertyListFromData_mutabilityOption_format_errorDescription(data, 0, &format,
                                                                                                    nullptr);
}

Ref<NSData> writeOurs(const Ref<NSObject>& value) {
  return QvPropertyListSerialization::dataFromPropertyList_format_errorDescription(value, QvPropertyListINIFormat,
                                                                                   nullptr);
}

struct Times {
  Samples read, write;
};

void runOurs(const std::string& text, Times& times) {
  const Ref<NSData> data = NSData::dataWithBytes(text);
  Ref<NSObject> value;
  Ref<NSData> written;
  times.read.push_back(processorMilliseconds([&] { value = readOurs(data); }));
  times.write.push_back(processorMilliseconds([&] { written = writeOurs(value); }));
  require(as<NSDictionary>(value)->count() != 0, "reading");
  require(written && written->length() > text.size() / 2, "writing");
}

#if ZT_BENCH_HAS_INIH
int look(void* sum, const char* section, const char* name, const char* value) {
  *static_cast<unsigned*>(sum) += static_cast<unsigned>(section[0] + name[0] + value[0]);
  return 1;
}
#endif

void runInih([[maybe_unused]] const std::string& text, [[maybe_unused]] Times& times) {
#if ZT_BENCH_HAS_INIH
  unsigned sum = 0;
  times.read.push_back(processorMilliseconds([&] { ini_parse_string(text.c_str(), look, &sum); }));
  require(sum != 0, "reading with inih");
#endif
}

void runSimpleIni([[maybe_unused]] const std::string& text, [[maybe_unused]] Times& times) {
#if ZT_BENCH_HAS_SIMPLEINI
  CSimpleIniCaseA settings(true);
  bool good = false;
  times.read.push_back(processorMilliseconds([&] { good = settings.LoadData(text) == SI_OK; }));
  require(good, "reading with SimpleIni");
  std::string written;
  times.write.push_back(processorMilliseconds([&] { good = settings.Save(written) == SI_OK; }));
  require(good && written.size() > text.size() / 2, "writing with SimpleIni");
#endif
}

void runGKeyFile([[maybe_unused]] const std::string& original, [[maybe_unused]] Times& times) {
#if ZT_BENCH_HAS_GLIB
  std::string text = original;
  std::replace(text.begin(), text.end(), ';', '#');  // its sign of a comment
  const std::unique_ptr<GKeyFile, void (*)(GKeyFile*)> settings(g_key_file_new(), g_key_file_unref);
  bool good = false;
  times.read.push_back(processorMilliseconds([&] {
    good = g_key_file_load_from_data(settings.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr) != FALSE;
  }));
  require(good, "reading with GKeyFile");
  gsize length = 0;
  char* written = nullptr;
  times.write.push_back(processorMilliseconds([&] { written = g_key_file_to_data(settings.get(), &length, nullptr); }));
  require(length > text.size() / 2, "writing with GKeyFile");
  g_free(written);
#endif
}

// Each peer in rounds of its own, since what one leaves behind in the heap slows the next down.
void compare(const bench::Report& report, const std::string& name, const std::string& text, std::size_t rounds,
             const char* peer, void (*runPeer)(const std::string&, Times&), double bound) {
  Times ours, theirs;
  bench::takeTurns(rounds, {[&] { runOurs(text, ours); }, [&] { runPeer(text, theirs); }});
  report.add({"read " + name, "ms", ours.read, peer, theirs.read, bound});
  if (!theirs.write.empty()) report.add({"write " + name, "ms", ours.write, peer, theirs.write});
}

void compareWithAll(const bench::Report& report, const char* what, const std::string& text, std::size_t rounds) {
  const std::string name = std::string(what) + ", " + std::to_string(text.size() / 1000 / 1000) + " MB";
  compare(report, name, text, rounds, "inih, bare callback", runInih, 1);
  compare(report, name, text, rounds, "SimpleIni", runSimpleIni, 0);
  compare(report, name, text, rounds, "GKeyFile", runGKeyFile, 0);
}

}  // namespace

int main() {
  const bench::Report report("Settings as INI text");
  const std::size_t size = bench::fullOrQuick(50U, 2U) * 1000U * 1000U, rounds = bench::fullOrQuick(7U, 5U);
  compareWithAll(report, "ASCII", settingsText(size, "Notes of today"), rounds);
  compareWithAll(report, "Unicode", settingsText(size, "Größe und 日本語"), rounds);
}
