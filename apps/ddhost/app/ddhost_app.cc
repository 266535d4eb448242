// The ddhost application: registers the library's commands and self-checks, runs what the
// command line asks for, and unregisters them again before the library is unloaded.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "basalt/console.h"
#include "basalt/string.h"
#include "dolbydigital/registration.h"
#include "moduledepot/codec_module_loader.h"
#include "signal_cleanup.h"
#include "tool.h"

namespace {

void PrintUsage() {
  std::printf(
      "usage: ddhost [--library PATH] [--engine PATH] <command> [arguments...]\n\n"
      "  --help                 this text\n");
  for (const ddhost::Tool& t : ddhost::Tools()) {
    if (std::strlen(t.synopsis) <= 22)
      std::printf("  %-22s %s\n", t.synopsis, t.summary);
    else
      std::printf("  %s\n  %-22s %s\n", t.synopsis, "", t.summary);
  }
  std::printf("  <console command> ...  run a registered console command, e.g.\n"
              "                         dolbydigital.Encode -cfg=my.json -in=in.wav -out=out.ec3\n");
}

// The file a console command is told to write ("-out=PATH", the form of the library's
// Encode command), or empty.
std::string OutputPathOf(const std::vector<std::string>& words) {
  for (const std::string& w : words)
    if (w.rfind("-out=", 0) == 0 && w.size() > 5) return w.substr(5);
  return std::string();
}

// The command writes its output itself, under its final name. An interrupted or failed run
// would leave a shorter file of whole frames that looks finished, so ddhost removes what
// the run wrote (a file that was there before and was not touched stays).
class CommandOutputGuard {
 public:
  explicit CommandOutputGuard(const std::string& path)
      : slot_(path.empty() ? -1 : ddhost::RemoveOnSignal(path, true)) {}
  ~CommandOutputGuard() { ddhost::ForgetOnSignal(slot_); }
  void RemoveWhatTheRunWrote(const std::string& path) {
    if (path.empty()) return;
    ddhost::ForgetOnSignal(slot_);
    slot_ = -1;
    if (written_) std::remove(path.c_str());
  }
  void SetWritten(bool written) { written_ = written; }

 private:
  int slot_;
  bool written_ = false;
};

bool ChangedSince(const std::string& path, bool existed, const struct stat& before) {
  struct stat now;
  if (stat(path.c_str(), &now) != 0 || !S_ISREG(now.st_mode)) return false;
  return !existed || now.st_ino != before.st_ino || now.st_dev != before.st_dev ||
         now.st_mtim.tv_sec != before.st_mtim.tv_sec || now.st_mtim.tv_nsec != before.st_mtim.tv_nsec;
}

bool RunCommand(const std::string& name, const std::string& text);

// Words after a console command's name form its argument text, joined by blanks.
int RunConsoleCommand(const std::string& name, const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& w : words) text += (text.empty() ? "" : " ") + w;
  auto& registry = basalt::console::CommandRegistry::Get();
  if (!registry.HasCommand(basalt::UTF8to16(name.c_str()))) {
    std::fprintf(stderr, "ddhost: unknown command '%s' (ddhost --help lists what there is)\n",
                 name.c_str());
    return 2;
  }
  const std::string out = OutputPathOf(words);
  struct stat before;
  const bool existed = !out.empty() && stat(out.c_str(), &before) == 0;
  CommandOutputGuard guard(out);
  const bool ok = RunCommand(name, text);
  if (!ok) {
    guard.SetWritten(ChangedSince(out, existed, before));
    guard.RemoveWhatTheRunWrote(out);
  }
  return ok ? 0 : 1;
}

// The command reports its own errors; an exception escaping it is reported here, so that a
// failing command always ends with a message and a non-zero exit code.
bool RunCommand(const std::string& name, const std::string& text) {
  auto& registry = basalt::console::CommandRegistry::Get();
  try {
    auto command = registry.CreateCommand(basalt::UTF8to16(name.c_str()), basalt::UTF8to16(text.c_str()));
    if (!command) {
      std::fprintf(stderr, "ddhost: the command '%s' could not be created\n", name.c_str());
      return false;
    }
    return command->Run();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "ddhost: the command '%s' failed: %s\n", name.c_str(), e.what());
  } catch (...) {
    std::fprintf(stderr, "ddhost: the command '%s' failed\n", name.c_str());
  }
  return false;
}

int Dispatch(const std::vector<std::string>& args) {
  if (args.empty() || args[0] == "--help" || args[0] == "-h") {
    PrintUsage();
    return args.empty() ? 2 : 0;
  }
  const std::vector<std::string> rest(args.begin() + 1, args.end());
  if (const ddhost::Tool* tool = ddhost::FindTool(args[0])) return tool->run(rest);
  if (args[0].rfind("--", 0) == 0) {
    std::fprintf(stderr, "ddhost: unknown option '%s'\n", args[0].c_str());
    return 2;
  }
  return RunConsoleCommand(args[0], rest);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int ddhost_app_main(int argc, char** argv) {
  std::vector<std::string> args;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--engine") == 0 && i + 1 < argc) {
      ModuleDepot::CodecModuleLoader::SetModulePath(argv[++i]);
    } else if (std::strncmp(argv[i], "--engine=", 9) == 0) {
      ModuleDepot::CodecModuleLoader::SetModulePath(argv[i] + 9);
    } else {
      args.push_back(argv[i]);
    }
  }
  dolbydigital::RegisterCommandAndTests();
  const int code = Dispatch(args);
  dolbydigital::UnregisterCommandAndTests();
  return code;
}
