#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

namespace greetingtests {

const std::string kProgram = ZT_EXAMPLES "/greeting.app/Contents/Linux/greeting";

std::string outputOf(const std::string& program, const std::string& environment, const std::string& argument) {
  std::string command = "env -u LANGUAGE -u LC_MESSAGES -u LANG ";
  command.append(environment).append(" '").append(program).append("' ").append(argument).append(" 2>&1");
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(::popen(command.c_str(), "r"), &::pclose);
  std::string text;
  char block[256];
  while (std::fgets(block, sizeof block, output.get()) != nullptr) text.append(block);
  return text;
}

TEST(Greeting, IsInTheUsersLanguage) {
  if (!std::filesystem::exists(kProgram)) GTEST_SKIP() << "the examples are not built";
  EXPECT_EQ(outputOf(kProgram, "LC_ALL=de_DE.UTF-8", "Anna"), "Guten Tag, Anna!\n");
  EXPECT_EQ(outputOf(kProgram, "LC_ALL=ja_JP.UTF-8", "Anna"), "Annaさん、こんにちは！\n");
  EXPECT_EQ(outputOf(kProgram, "LC_ALL=de LANGUAGE=pt_BR:fr", ""), "Olá, quem quer que seja!\n");
  EXPECT_EQ(outputOf(kProgram, "LC_ALL=fr_FR.UTF-8", "Anna"), "Hello, Anna!\n") << "the development region";
  EXPECT_EQ(outputOf(kProgram, "LC_ALL=C", ""), "Hello, whoever you are!\n");
}

}  // namespace greetingtests
