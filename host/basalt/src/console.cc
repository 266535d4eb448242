// The console's command registry and output. The registry is one process-wide object that
// plug-ins fill when they are loaded and empty before they are unloaded.
#include "basalt/console.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <mutex>
#include <string>

#include <unistd.h>

namespace basalt {
namespace console {
namespace {

struct Entry {
  UTF16String help;
  CommandFactory factory;
};

struct RegistryState {
  mutable std::mutex mutex;
  std::map<UTF16String, Entry> commands;
};

RegistryState& State() {
  // Never destroyed: plug-ins unregister from their own static destructors.
  static RegistryState* state = new RegistryState();
  return *state;
}

// True while a progress line is on the terminal, so other output can clear it first.
bool progress_line_shown = false;
std::mutex output_mutex;

void ClearProgressLine() {
  if (!progress_line_shown) return;
  std::fputs("\r\033[K", stderr);
  std::fflush(stderr);
  progress_line_shown = false;
}

void WriteLine(std::FILE* stream, const UTF16String& line) {
  std::lock_guard<std::mutex> lock(output_mutex);
  ClearProgressLine();
  const std::string text = ToStdString(line);
  std::fwrite(text.data(), 1, text.size(), stream);
  std::fputc('\n', stream);
  std::fflush(stream);
}

}  // namespace

Command::~Command() = default;

CommandRegistry& CommandRegistry::Get() {
  static CommandRegistry* registry = new CommandRegistry();
  return *registry;
}

bool CommandRegistry::RegisterCommand(const UTF16String& name, const UTF16String& help,
                                      const CommandFactory& factory) {
  if (name.empty() || factory.empty()) return false;
  RegistryState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  return state.commands.emplace(name, Entry{help, factory}).second;
}

bool CommandRegistry::UnregisterCommand(const UTF16String& name) {
  RegistryState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  return state.commands.erase(name) > 0;
}

bool CommandRegistry::HasCommand(const UTF16String& name) const {
  RegistryState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  return state.commands.count(name) > 0;
}

std::vector<CommandInfo> CommandRegistry::ListCommands() const {
  RegistryState& state = State();
  std::lock_guard<std::mutex> lock(state.mutex);
  std::vector<CommandInfo> list;
  list.reserve(state.commands.size());
  for (const auto& command : state.commands) list.push_back(CommandInfo{command.first, command.second.help});
  return list;
}

std::unique_ptr<Command> CommandRegistry::CreateCommand(const UTF16String& name,
                                                        const UTF16String& arguments) const {
  CommandFactory factory;
  {
    RegistryState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    auto it = state.commands.find(name);
    if (it == state.commands.end()) return nullptr;
    factory = it->second.factory;
  }
  // Called outside the lock: a factory may itself consult the registry.
  return std::unique_ptr<Command>(factory(name, arguments));
}

void Print(const UTF16String& line) { WriteLine(stdout, line); }

void PrintError(const UTF16String& line) { WriteLine(stderr, line); }

bool IsInteractive() { return ::isatty(STDERR_FILENO) == 1; }

// ---- ProgressReporter ------------------------------------------------------------------

namespace {
// Redraw at most once per whole percent, and always at the end.
constexpr double kRedrawStep = 0.01;
}  // namespace

ProgressReporter::ProgressReporter(const UTF16String& label)
    : label_(label), active_(IsInteractive()), last_shown_(-1.0) {}

ProgressReporter::~ProgressReporter() { Finish(); }

void ProgressReporter::Update(double fraction, const UTF16String& detail) {
  if (!active_) return;
  if (!(fraction >= 0.0)) fraction = 0.0;  // also catches NaN
  fraction = std::min(fraction, 1.0);
  if (last_shown_ >= 0.0 && fraction < 1.0 && fraction - last_shown_ < kRedrawStep) return;
  if (last_shown_ >= 1.0 && fraction >= 1.0) return;
  last_shown_ = fraction;

  const int percent = static_cast<int>(std::floor(fraction * 100.0));
  char number[16];
  std::snprintf(number, sizeof number, "%3d%%", percent);
  std::string line = ToStdString(label_) + " " + number;
  if (!detail.empty()) line += " " + ToStdString(detail);

  std::lock_guard<std::mutex> lock(output_mutex);
  std::fprintf(stderr, "\r%s\033[K", line.c_str());
  std::fflush(stderr);
  progress_line_shown = true;
}

void ProgressReporter::Finish() {
  if (!active_) return;
  active_ = false;
  std::lock_guard<std::mutex> lock(output_mutex);
  if (progress_line_shown) {
    std::fputc('\n', stderr);
    std::fflush(stderr);
    progress_line_shown = false;
  }
}

}  // namespace console
}  // namespace basalt
