#include <ZtFoundation/platform/Array.h>
#include <ZtFoundation/platform/Bundle.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/services/Service.h"
#include "platform/services/UserLanguages.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

/// A user whose languages the test tells.
class Reader : public UserLanguages {
 public:
  explicit Reader(std::vector<std::string> languages) : languages_(std::move(languages)) {}
  std::vector<std::string> inOrder() override { return languages_; }

 private:
  std::vector<std::string> languages_;
  ScopedService<UserLanguages> scope_{*this};
};

/// The localizations that a search looks at in a bundle that has all of `names`.
std::string orderFor(std::vector<std::string> languages, std::initializer_list<const char*> names) {
  const ScratchFolder folder;
  const Reader reader(std::move(languages));
  for (const std::string name : names)
    std::filesystem::create_directories(folder / "Contents/Resources/" + name + ".lproj");
  return NSBundle::bundleWithPath(folder.path())->preferredLocalizations()->componentsJoinedByString(" ")->utf8();
}

TEST(BundleLanguages, EachIsTriedInItsForms) {
  EXPECT_EQ(orderFor({"pt_BR"}, {"pt", "pt-BR", "pt_BR", "pt_PT"}), "pt_BR pt-BR pt");
  EXPECT_EQ(orderFor({"pt-BR"}, {"pt", "pt-BR", "pt_BR", "pt_PT"}), "pt-BR pt_BR pt");
  EXPECT_EQ(orderFor({"zh_Hant_TW"}, {"zh", "zh-Hant", "zh_Hant", "zh-Hant-TW", "zh_Hant_TW", "zh_TW"}),
            "zh_Hant_TW zh-Hant-TW zh_Hant zh-Hant zh");
  EXPECT_EQ(orderFor({"de"}, {"de", "de_DE"}), "de");
}

TEST(BundleLanguages, AllFormsOfOneGoBeforeTheNext) {
  EXPECT_EQ(orderFor({"pt_BR", "de_AT", "pt_PT"}, {"pt", "de", "de_AT", "pt_PT"}), "pt de_AT de pt_PT");
}

TEST(BundleLanguages, ThoseThatAreNoFileNamesAreLeftOut) {
  EXPECT_EQ(orderFor({"../x", "/", "", ".", "..", "de/..", "_", "fr"}, {"../x", "fr", "Base"}), "fr Base");
}

TEST(BundleLanguages, NamesThatAreTooLongAreLeftOutAtOnce) {
  EXPECT_EQ(orderFor({std::string(1'000'000, '_'), "fr", std::string(256, 'x')}, {"fr", "Base"}), "fr Base");
}

TEST(BundleLanguages, BaseIsTriedOnce) { EXPECT_EQ(orderFor({"Base", "fr"}, {"fr", "Base"}), "Base fr"); }

TEST(BundleLanguages, NamesAreBytes) { EXPECT_EQ(orderFor({"\xFF"}, {"\xFF"}), "\xEF\xBF\xBD"); }

}  // namespace
}  // namespace ZtFoundation::test
