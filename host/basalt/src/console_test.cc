#include "basalt/console.h"

#include <algorithm>
#include <string>

#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace basalt {
namespace console {
namespace {

class RecordingCommand : public Command {
 public:
  RecordingCommand(const UTF16String& name, const UTF16String& arguments)
      : name_(name), arguments_(arguments) {}
  bool Run() override { return arguments_ != AsciiToUTF16("fail"); }
  const UTF16String& name() const { return name_; }
  const UTF16String& arguments() const { return arguments_; }

 private:
  UTF16String name_, arguments_;
};

Command* MakeRecording(const UTF16String& name, const UTF16String& arguments) {
  return new RecordingCommand(name, arguments);
}

class CommandRegistryTest : public ::testing::Test {
 protected:
  void TearDown() override {
    for (const char* name : {"test.b", "test.a", "test.null"})
      CommandRegistry::Get().UnregisterCommand(AsciiToUTF16(name));
  }
};

TEST_F(CommandRegistryTest, RegistersListsCreatesAndUnregisters) {
  CommandRegistry& registry = CommandRegistry::Get();
  EXPECT_EQ(&registry, &CommandRegistry::Get());
  ASSERT_TRUE(registry.RegisterCommand(AsciiToUTF16("test.b"), AsciiToUTF16("b help"), &MakeRecording));
  ASSERT_TRUE(registry.RegisterCommand(AsciiToUTF16("test.a"), AsciiToUTF16("a help"), &MakeRecording));
  EXPECT_FALSE(registry.RegisterCommand(AsciiToUTF16("test.a"), AsciiToUTF16("again"), &MakeRecording));
  EXPECT_FALSE(registry.RegisterCommand(AsciiToUTF16("test.c"), AsciiToUTF16("none"), CommandFactory()));
  EXPECT_TRUE(registry.HasCommand(AsciiToUTF16("test.a")));

  std::vector<CommandInfo> listed;
  for (const CommandInfo& info : registry.ListCommands())
    if (ToStdString(info.name).rfind("test.", 0) == 0) listed.push_back(info);
  ASSERT_EQ(listed.size(), 2u);
  EXPECT_EQ(ToStdString(listed[0].name), "test.a");  // by name
  EXPECT_EQ(ToStdString(listed[0].help), "a help");

  std::unique_ptr<Command> command = registry.CreateCommand(AsciiToUTF16("test.b"), AsciiToUTF16("-in=x"));
  ASSERT_TRUE(command);
  auto* recording = dynamic_cast<RecordingCommand*>(command.get());
  ASSERT_NE(recording, nullptr);
  EXPECT_EQ(ToStdString(recording->name()), "test.b");
  EXPECT_EQ(ToStdString(recording->arguments()), "-in=x");
  EXPECT_TRUE(command->Run());
  EXPECT_FALSE(registry.CreateCommand(AsciiToUTF16("test.b"), AsciiToUTF16("fail"))->Run());

  EXPECT_TRUE(registry.UnregisterCommand(AsciiToUTF16("test.b")));
  EXPECT_FALSE(registry.UnregisterCommand(AsciiToUTF16("test.b")));
  EXPECT_FALSE(registry.HasCommand(AsciiToUTF16("test.b")));
  EXPECT_FALSE(registry.CreateCommand(AsciiToUTF16("test.b"), UTF16String()));
}

TEST_F(CommandRegistryTest, FactoryReturningNullGivesNoCommand) {
  CommandRegistry& registry = CommandRegistry::Get();
  ASSERT_TRUE(registry.RegisterCommand(AsciiToUTF16("test.null"), AsciiToUTF16(""),
                                       [](const UTF16String&, const UTF16String&) -> Command* {
                                         return nullptr;
                                       }));
  EXPECT_FALSE(registry.CreateCommand(AsciiToUTF16("test.null"), UTF16String()));
}

TEST(Console, OutputWritesLinesToTheirStreams) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Print(UTF8to16("90\xC2\xB0"));
  PrintError(AsciiToUTF16("failed"));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "90\xC2\xB0\n");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "failed\n");
}

TEST(Console, ProgressIsSilentWithoutATerminal) {
  testing::internal::CaptureStderr();
  {
    ProgressReporter progress(AsciiToUTF16("Encoding"));
    progress.Update(0.42, AsciiToUTF16("12.3x"));
    progress.Update(1.0, UTF16String());
  }
  // Captured stderr is a file, not a terminal.
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// Standard error redirected to a pseudo-terminal for the lifetime of the object.
class TerminalOnStderr {
 public:
  TerminalOnStderr() {
    if (::openpty(&master_, &slave_, nullptr, nullptr, nullptr) != 0) return;
    ::fflush(stderr);
    saved_ = ::dup(STDERR_FILENO);
    ::dup2(slave_, STDERR_FILENO);
    ::fcntl(master_, F_SETFL, O_NONBLOCK);
  }
  ~TerminalOnStderr() {
    Restore();
    if (master_ >= 0) ::close(master_);
    if (slave_ >= 0) ::close(slave_);
  }
  bool Ready() const { return saved_ >= 0; }
  void Restore() {
    if (saved_ < 0) return;
    ::fflush(stderr);
    ::dup2(saved_, STDERR_FILENO);
    ::close(saved_);
    saved_ = -1;
  }
  std::string Drain() {
    std::string text;
    char chunk[4096];
    for (ssize_t got; (got = ::read(master_, chunk, sizeof chunk)) > 0;) text.append(chunk, got);
    return text;
  }

 private:
  int master_ = -1, slave_ = -1, saved_ = -1;
};

TEST(Console, ProgressRedrawsOneThrottledLineOnATerminal) {
  TerminalOnStderr terminal;
  if (!terminal.Ready()) GTEST_SKIP() << "no pseudo-terminal available";
  ASSERT_TRUE(IsInteractive());
  {
    ProgressReporter progress(AsciiToUTF16("Encoding"));
    for (int step = 0; step <= 1000; ++step)  // a thousand updates, one per mille
      progress.Update(step / 1000.0, AsciiToUTF16("12.3x"));
  }
  terminal.Restore();
  const std::string shown = terminal.Drain();
  EXPECT_NE(shown.find("\rEncoding  42% 12.3x"), std::string::npos) << shown.substr(0, 200);
  EXPECT_NE(shown.find("Encoding 100% 12.3x"), std::string::npos);
  const auto redraws = std::count(shown.begin(), shown.end(), '\r');
  EXPECT_LE(redraws, 110) << "one redraw per percent, not per update";  // the tty adds \r before \n
  EXPECT_GE(redraws, 100);
  EXPECT_EQ(shown.back(), '\n') << "the line is ended when the reporter goes";
}

}  // namespace
}  // namespace console
}  // namespace basalt
