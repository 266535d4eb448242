// Files for the harnesses whose entry point reads a path: one private folder per process
// under the system's temporary folder, removed at exit.
#ifndef DD_FUZZ_HARNESSES_SCRATCH_FILES_H
#define DD_FUZZ_HARNESSES_SCRATCH_FILES_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace ddfuzz {

// The path of `name` in this process's scratch folder.
std::string ScratchPath(const std::string& name);

// Writes the bytes to ScratchPath(name), replacing what was there; returns the path.
std::string WriteScratchFile(const std::string& name, const void* data, std::size_t size);

}  // namespace ddfuzz

#endif  // DD_FUZZ_HARNESSES_SCRATCH_FILES_H
