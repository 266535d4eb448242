// The ddhost application: registers the library's commands and self-checks, runs what the
// command line asks for, and unregisters them again before the library is unloaded.
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "basalt/console.h"
#include "basalt/string.h"
#include "dolbydigital/registration.h"
#include "moduledepot/codec_module_loader.h"
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

// Words after a console command's name form its argument text, joined by blanks. The
// command reports its own errors; an exception escaping it is reported here, so that a
// failing command always ends with a message and a non-zero exit code.
int RunConsoleCommand(const std::string& name, const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& w : words) text += (text.empty() ? "" : " ") + w;
  auto& registry = basalt::console::CommandRegistry::Get();
  const basalt::UTF16String name16 = basalt::UTF8to16(name.c_str());
  if (!registry.HasCommand(name16)) {
    std::fprintf(stderr, "ddhost: unknown command '%s' (ddhost --help lists what there is)\n",
                 name.c_str());
    return 2;
  }
  try {
    auto command = registry.CreateCommand(name16, basalt::UTF8to16(text.c_str()));
    if (!command) {
      std::fprintf(stderr, "ddhost: the command '%s' could not be created\n", name.c_str());
      return 2;
    }
    return command->Run() ? 0 : 1;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "ddhost: the command '%s' failed: %s\n", name.c_str(), e.what());
  } catch (...) {
    std::fprintf(stderr, "ddhost: the command '%s' failed\n", name.c_str());
  }
  return 1;
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
