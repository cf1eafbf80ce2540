#include "platform/linux/applications/Executable.h"

#include <elf.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <link.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <functional>

#include "support/ChildProcess.h"
#include "support/ScratchFolder.h"

namespace ZtFoundation::test {
namespace {

using detail::isNativeProgram;

class ExecutableTests : public testing::Test {
 protected:
  std::string file(const std::string& name, const std::string& bytes) const {
    writeFile(folder / name, bytes);
    return folder / name;
  }
  bool isNative(const std::string& bytes) const { return isNativeProgram(file("program", bytes)); }

  /// This program itself, cut after its header, with changes.
  static std::string header(const std::function<void(ElfW(Ehdr) &)>& change = [](ElfW(Ehdr) &) {}) {
    ElfW(Ehdr) header;
    static const std::string own = contentsOf("/proc/self/exe").value();
    std::memcpy(&header, own.data(), sizeof header);
    change(header);
    return std::string(reinterpret_cast<const char*>(&header), sizeof header);
  }

  ScratchFolder folder;
};

TEST_F(ExecutableTests, ThisProgramIsNative) {
  EXPECT_TRUE(isNativeProgram("/proc/self/exe"));
  EXPECT_TRUE(isNative(header()));
}

TEST_F(ExecutableTests, ProgramsAtFixedAndAtAnyAddressAreNative) {
  EXPECT_TRUE(isNative(header([](auto& header) { header.e_type = ET_EXEC; })));
  EXPECT_TRUE(isNative(header([](auto& header) { header.e_type = ET_DYN; })));
  EXPECT_FALSE(isNative(header([](auto& header) { header.e_type = ET_REL; })));
  EXPECT_FALSE(isNative(header([](auto& header) { header.e_type = ET_CORE; })));
  EXPECT_FALSE(isNative(header([](auto& header) { header.e_type = 0xFFFF; })));
}

TEST_F(ExecutableTests, ProgramsForOtherMachinesAreNot) {
  const std::function<void(ElfW(Ehdr)&)> changes[] = {
      [](auto& header) { header.e_machine = header.e_machine == EM_AARCH64 ? EM_X86_64 : EM_AARCH64; },
      [](auto& header) { header.e_machine = EM_NONE; },
      [](auto& header) { header.e_ident[EI_CLASS] ^= ELFCLASS32 ^ ELFCLASS64; },
      [](auto& header) { header.e_ident[EI_CLASS] = ELFCLASSNONE; },
      [](auto& header) { header.e_ident[EI_DATA] ^= ELFDATA2LSB ^ ELFDATA2MSB; },
      [](auto& header) { header.e_ident[EI_VERSION] = 77; },
      [](auto& header) { header.e_ident[0] = 'M'; },
  };
  for (const auto& change : changes) EXPECT_FALSE(isNative(header(change))) << &change - changes;
}

TEST_F(ExecutableTests, HeadersThatAreCutShortAreNot) {
  const std::string whole = header();
  for (std::size_t size = 0; size < whole.size(); ++size) EXPECT_FALSE(isNative(whole.substr(0, size))) << size;
}

TEST_F(ExecutableTests, OtherFilesAreNot) {
  EXPECT_FALSE(isNative("text\n"));
  EXPECT_FALSE(isNative(std::string(4096, '\0')));
  EXPECT_FALSE(isNativeProgram(folder.path()));
  EXPECT_FALSE(isNativeProgram(folder / "missing"));
  EXPECT_FALSE(isNativeProgram(""));
  EXPECT_FALSE(isNativeProgram("/dev/null"));
  ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(isNativeProgram(folder / "pipe"));
}

TEST_F(ExecutableTests, APipeIsNotOpened) {
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const pid_t writer = startChild([&] { return ::open(pipe.c_str(), O_WRONLY); });
  ::usleep(20000);
  EXPECT_FALSE(isNativeProgram(pipe));
  EXPECT_FALSE(isNative(std::string("#!").append(pipe)));
  ::usleep(20000);
  EXPECT_EQ(::waitpid(writer, nullptr, WNOHANG), 0) << "somebody let the writer go on";
  ::kill(writer, SIGKILL);
  waitForChild(writer);
}

TEST_F(ExecutableTests, AProgramThatMayNotBeReadIsNot) {
  const std::string program = file("program", header());
  ::chmod(folder.path().c_str(), 0755);
  ::chmod(program.c_str(), 0111);
  EXPECT_EQ(asOrdinaryUser([&] { return isNativeProgram(program) ? 1 : 0; }), 0);
}

TEST_F(ExecutableTests, LinksAreFollowed) {
  std::filesystem::create_symlink(file("program", header()), folder / "link");
  EXPECT_TRUE(isNativeProgram(folder / "link"));
}

TEST_F(ExecutableTests, AScriptIsWhatItsInterpreterIs) {
  const std::string native = file("native", header());
  const std::string foreign = file("foreign", header([](auto& header) { header.e_machine = EM_NONE; }));
  const struct {
    std::string script;
    bool expected;
  } cases[] = {
      {"#!" + native + "\n", true},
      {"#!" + native, true},
      {"#! \t" + native + " -x\tan argument\nrest", true},
      {"#!" + native + std::string("\0rest", 5), true},
      {"#!" + native + " " + std::string(1000, 'x'), true},
      {"#!" + foreign + "\n", false},
      {"#!" + native + "/missing\n", false},
      {"#!" + native + std::string(1000, 'x'), false},
      {"#!/" + std::string(300, ' ') + native, false},
      {"#!\n" + native, false},
      {"#!", false},
      {"#! \t ", false},
      {"#", false},
      {" #!" + native + "\n", false},
  };
  for (const auto& each : cases) EXPECT_EQ(isNative(each.script), each.expected) << each.script;
}

// The system reads 256 bytes. An interpreter whose name ends just there may have been cut.
TEST_F(ExecutableTests, TheInterpretersNameEndsWhereItCanBeSeen) {
  const std::string name(253 - folder.path().size() - 1, 'n');
  const std::string fitting = file(name, header()), cut = file(name + "n", header());
  EXPECT_TRUE(isNative("#!" + fitting + "\n"));
  EXPECT_FALSE(isNative("#!" + cut + "x"));
  EXPECT_FALSE(isNative("#!" + cut + "\n"));
}

TEST_F(ExecutableTests, InterpretersAreFollowedAsDeepAsTheSystemDoes) {
  std::string previous = file("0", header());
  for (int depth = 1; depth <= 6; ++depth) {
    std::string line = "#!";
    line.append(previous).append("\n");
    previous = file(std::to_string(depth), line);
    EXPECT_EQ(isNativeProgram(previous), depth <= 5) << depth;
  }
}

TEST_F(ExecutableTests, AScriptThatInterpretsItselfIsNot) {
  std::string line = "#!";
  EXPECT_FALSE(isNative(line.append(folder / "program").append("\n")));
}

}  // namespace
}  // namespace ZtFoundation::test
