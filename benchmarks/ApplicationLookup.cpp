// Finding an application among 2,000 desktop entries in 20 folders, and the same by GIO. Where all entries have to be
// looked at, ours has to cost at most what GIO needs. An identifier that is right to the letter needs no search by
// GIO's rules, as it tells the possible names of the file; ours looks for bundles, and in any case, so the first lookup
// lists the folders.

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include <ZtFoundation/Applications.h>

#include "support/Report.h"
#include "support/Scratch.h"

#if ZT_BENCH_HAS_GIO
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#endif

namespace {

using namespace ZtFoundation;

constexpr int kEntries = 2000, kFolders = 20;
constexpr char kWanted[] = "org.example.Application1234";
constexpr char kSignature[] = "1234";
constexpr char kSignatureKey[] = "X-ZtFoundation-Signature";

void makeEntries(const std::string& base) {
  for (int at = 0; at < kEntries; ++at) {
    const std::string folder =
        base + "/applications" + (at % kFolders == 0 ? "" : "/f" + std::to_string(at % kFolders));
    std::filesystem::create_directories(folder);
    std::FILE* const file =
        std::fopen((folder + "/org.example.Application" + std::to_string(at) + ".desktop").c_str(), "w");
    bench::require(file != nullptr, "writing an entry");
    std::fprintf(file, "[Desktop Entry]\nType=Application\nName=Application %d\n", at);
    for (const char* const language : {"de", "fr", "ja", "pt_BR", "ru", "zh_CN"}) {
      std::fprintf(file, "Name[%s]=Application %d\nComment[%s]=One of many applications\n", language, at, language);
    }
    std::fprintf(file, "Exec=sh -c true %%U\nIcon=application\nCategories=Utility;\nMimeType=text/plain;\n%s=%04d\n",
                 kSignatureKey, at);
    std::fclose(file);
  }
}

// --- The lookups

std::string anotherEntry;  // read beforehand, which opens whatever is opened once

void readEntryByLibrary() { bench::require(ZtLSIsApplicationAtPath(anotherEntry.c_str()), "reading an entry"); }

// The identifier of an entry in a folder begins with the folder's name.
const std::string kIdentifier = "f" + std::to_string(1234 % kFolders) + "-" + kWanted;

void identifierByLibrary() {
  bench::require(static_cast<bool>(ZtLSGetApplicationPathForIdentifier(kIdentifier.c_str())), "lookup by identifier");
}

void signatureByLibrary() {
  bench::require(static_cast<bool>(ZtLSGetApplicationPathForSignature(kSignature)), "lookup by signature");
}

#if ZT_BENCH_HAS_GIO
void readEntryByGIO() {
  GDesktopAppInfo* const entry = g_desktop_app_info_new_from_filename(anotherEntry.c_str());
  bench::require(entry != nullptr, "GIO's reading of an entry");
  g_object_unref(entry);
}

void identifierByGIO() {
  GDesktopAppInfo* const found = g_desktop_app_info_new((kIdentifier + ".desktop").c_str());
  bench::require(found != nullptr, "GIO's lookup by identifier");
  g_object_unref(found);
}

void signatureByGIO() {
  GList* const all = g_app_info_get_all();
  bool isFound = false;
  for (const GList* one = all; one != nullptr; one = one->next) {
    char* const value = g_desktop_app_info_get_string(static_cast<GDesktopAppInfo*>(one->data), kSignatureKey);
    isFound |= g_strcmp0(value, kSignature) == 0;
    g_free(value);
  }
  g_list_free_full(all, g_object_unref);
  bench::require(isFound, "GIO's lookup by signature");
}
#endif

// --- First and later lookups

struct Lookup {
  void (*prepare)();
  void (*find)();
};

struct Times {
  double first, later;  // milliseconds of the processor
};

Times timesOf(const Lookup& lookup) {
  lookup.prepare();
  const double first = bench::processorMilliseconds(lookup.find);
  const int repeats = first < 20 ? 50 : 3;
  const double later = bench::processorMilliseconds([&] {
    for (int i = 0; i < repeats; ++i) lookup.find();
  });
  return {first, later / repeats};
}

// In a process of its own, where nothing is known yet.
Times timesInNewProcess(const Lookup& lookup) {
  void* const page = ::mmap(nullptr, sizeof(Times), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  bench::require(page != MAP_FAILED, "sharing memory");
  const pid_t child = ::fork();
  if (child == 0) {
    new (page) Times(timesOf(lookup));
    std::_Exit(0);
  }
  int status = 0;
  bench::require(child > 0 && ::waitpid(child, &status, 0) == child && status == 0, "a lookup");
  const Times times = *static_cast<const Times*>(page);
  ::munmap(page, sizeof(Times));
  return times;
}

struct Series {
  bench::Samples first, later;

  void add(const Times& times) {
    first.push_back(times.first);
    later.push_back(times.later);
  }
};

void compare(const bench::Report& report, const std::string& how, const Lookup& ours,
             [[maybe_unused]] const Lookup& gio) {
  Series library, peer;
  std::vector<std::function<void()>> contenders{[&] { library.add(timesInNewProcess(ours)); }};
#if ZT_BENCH_HAS_GIO
  contenders.emplace_back([&] { peer.add(timesInNewProcess(gio)); });
#endif
  bench::takeTurns(bench::fullOrQuick(21U, 3U), contenders);
  report.add({"first lookup by " + how, "ms", library.first, "GIO", peer.first, 1});
  report.add({"later lookup by " + how, "ms", library.later, "GIO", peer.later, 1});
}

}  // namespace

int main() {
  const bench::Scratch base;
  makeEntries(base.path());
  anotherEntry = base.path() + "/applications/org.example.Application0.desktop";
  ::setenv("HOME", (base.path() + "/home").c_str(), 1);
  ::setenv("XDG_DATA_HOME", (base.path() + "/home").c_str(), 1);
  ::setenv("XDG_DATA_DIRS", base.path().c_str(), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));  // what has just changed is read anew each time

  const bench::Report report("Applications among " + std::to_string(kEntries) + " desktop entries");
#if ZT_BENCH_HAS_GIO
  const Lookup identifier{readEntryByGIO, identifierByGIO}, signature{readEntryByGIO, signatureByGIO};
#else
  const Lookup identifier{}, signature{};
#endif
  compare(report, "identifier", {readEntryByLibrary, identifierByLibrary}, identifier);
  compare(report, "signature", {readEntryByLibrary, signatureByLibrary}, signature);
}
