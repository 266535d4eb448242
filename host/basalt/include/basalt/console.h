// The host console: a registry of named commands that plug-ins add, and the output
// facilities a running command uses.
#ifndef BASALT_CONSOLE_H
#define BASALT_CONSOLE_H

#include <memory>
#include <vector>

#include <boost/function.hpp>

#include "basalt/string.h"

namespace basalt {
namespace console {

class Command {
 public:
  virtual ~Command();
  // Runs the command; false means it failed (the console then exits non-zero).
  virtual bool Run() = 0;
};

// Called with the command's name and the argument text typed after it.
using CommandFactory = boost::function<Command*(const UTF16String& name, const UTF16String& arguments)>;

struct CommandInfo {
  UTF16String name;
  UTF16String help;
};

class CommandRegistry {
 public:
  static CommandRegistry& Get();

  // False when the name is taken or the factory is empty.
  bool RegisterCommand(const UTF16String& name, const UTF16String& help,
                       const CommandFactory& factory);
  bool UnregisterCommand(const UTF16String& name);
  bool HasCommand(const UTF16String& name) const;
  std::vector<CommandInfo> ListCommands() const;  // by name
  // A new command object, or null for an unknown name or a factory that returned null.
  std::unique_ptr<Command> CreateCommand(const UTF16String& name, const UTF16String& arguments) const;

 private:
  CommandRegistry() = default;
};

// Output of running commands.
void Print(const UTF16String& line);       // standard output, newline appended
void PrintError(const UTF16String& line);  // standard error, newline appended
bool IsInteractive();                      // standard error is a terminal

// A one-line progress display on the terminal; silent when not interactive.
class ProgressReporter {
 public:
  explicit ProgressReporter(const UTF16String& label);
  ~ProgressReporter();
  void Update(double fraction, const UTF16String& detail);  // fraction in [0, 1]
  void Finish();  // ends the line

 private:
  UTF16String label_;
  bool active_;
  double last_shown_;
};

}  // namespace console
}  // namespace basalt

#endif  // BASALT_CONSOLE_H
