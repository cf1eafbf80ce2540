// Finding an application among 2,000 desktop entries in 20 folders, and the same by GIO. Where all entries have to be looked at, ours has to
// cost at most what GIO needs. An identifier that is right to the letter needs no search by GIO's rules, as it tells the possible names of
// the file; ours looks for bundles, and in any case, so the first lookup lists the folders.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <thread>
#include <vector>

#include <ZtFoundation/Applications.h>

#include "support/Timing.h"

#if ZT_BENCH_HAS_GIO
#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#endif

namespace {

using namespace ZtFoundation;
namespace files = std::filesystem;

constexpr int kEntries = 2000, kFolders = 20;
constexpr char kWanted[] = "org.example.Application1234";
constexpr char kSignatureKey[] = "X-ZtFoundation-Signature";

struct Measured {
  double first, second;
};

template <class Work>
Measured twice(Work work) {
  const double first = bench::processorMilliseconds(work);
  std::vector<double> later;
  for (int i = 0; i < 21; ++i) later.push_back(bench::processorMilliseconds(work));
  return {first, bench::median(later)};
}

void print(const char* what, const Measured& measured) {
  std::printf("%-46s first %9.3f ms, then %9.3f ms of the processor\n", what, measured.first, measured.second);
}

std::string makeEntries() {
  std::string base = (files::temp_directory_path() / "zt-bench-XXXXXX").string();
  bench::require(::mkdtemp(base.data()) != nullptr, "making a folder");
  for (int at = 0; at < kEntries; ++at) {
    const std::string folder =
        base + "/applications" + (at % kFolders == 0 ? "" : "/f" + std::to_string(at % kFolders));
    files::create_directories(folder);
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
  return base;
}

#if ZT_BENCH_HAS_GIO
// The identifier of an entry in a folder begins with the folder's name.
Measured identifierByGIO(const std::string& identifier) {
  return twice([&] {
    GDesktopAppInfo* const found = g_desktop_app_info_new((identifier + ".desktop").c_str());
    bench::require(found != nullptr, "GIO's lookup by identifier");
    g_object_unref(found);
  });
}

Measured signatureByGIO(const char* signature) {
  return twice([&] {
    GList* const all = g_app_info_get_all();
    bool isFound = false;
    for (const GList* one = all; one != nullptr; one = one->next) {
      char* const value = g_desktop_app_info_get_string(static_cast<GDesktopAppInfo*>(one->data), kSignatureKey);
      isFound |= g_strcmp0(value, signature) == 0;
      g_free(value);
    }
    g_list_free_full(all, g_object_unref);
    bench::require(isFound, "GIO's lookup by signature");
  });
}
#endif

}  // namespace

int main() {
  const std::string base = makeEntries();
  ::setenv("HOME", (base + "/home").c_str(), 1);
  ::setenv("XDG_DATA_HOME", (base + "/home").c_str(), 1);
  ::setenv("XDG_DATA_DIRS", base.c_str(), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(2100));  // what has just changed is read anew each time
  const std::string identifier = "f" + std::to_string(1234 % kFolders) + "-" + kWanted;

  const Measured module =
      twice([&] { ZtLSIsApplicationAtPath((base + "/applications/org.example.Application0.desktop").c_str()); });
  print("one entry (opens the desktop module)", module);
  const Measured ours = twice([&] {
    bench::require(static_cast<bool>(ZtLSGetApplicationPathForIdentifier(identifier.c_str())), "lookup by identifier");
  });
  print("by identifier", ours);
  const Measured oursSigned = twice(
      [&] { bench::require(static_cast<bool>(ZtLSGetApplicationPathForSignature("1234")), "lookup by signature"); });
  print("by signature", oursSigned);
  const Measured unknown =
      twice([] { bench::require(!ZtLSGetApplicationPathForSignature("none"), "lookup of an unknown signature"); });
  print("by a signature that nobody has", unknown);
  bool isGood = true;
#if ZT_BENCH_HAS_GIO
  const Measured gio = identifierByGIO(identifier), gioSigned = signatureByGIO("1234");
  print("GIO, by identifier", gio);
  print("GIO, by signature (all entries)", gioSigned);
  isGood = oursSigned.first <= gioSigned.first && oursSigned.second <= gioSigned.second;
#else
  std::puts("GIO is not installed: nothing to compare with");
#endif
  files::remove_all(base);
  std::puts(isGood ? "at most what GIO needs" : "MORE THAN GIO NEEDS");
  return isGood ? 0 : 1;
}
