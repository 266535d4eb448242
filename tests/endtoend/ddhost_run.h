// Running ddhost from the build tree, and what the end-to-end tests read from its results.
#ifndef DD_TESTS_ENDTOEND_DDHOST_RUN_H
#define DD_TESTS_ENDTOEND_DDHOST_RUN_H

#include <string>
#include <vector>

#include "bitstream_info.h"
#include "process.h"

namespace ddtest {

// build/bin/ddhost with `args`.
ProcessResult RunDdhost(const std::vector<std::string>& args);

// ddhost dolbydigital.Encode -in=IN -out=OUT [-cfg=CFG] (an empty cfg is left out).
ProcessResult RunEncode(const std::string& in, const std::string& out,
                        const std::string& cfg = std::string(),
                        const std::vector<std::string>& hostOptions = {});

void WriteText(const std::string& path, const std::string& text);
bool FileExists(const std::string& path);
std::vector<unsigned char> ReadBytes(const std::string& path);

// The bitstream information of every independent frame of a stream file.
std::vector<ddpi::bitstream::FrameInfo> ReadFrameInfos(const std::string& path);

}  // namespace ddtest

#endif  // DD_TESTS_ENDTOEND_DDHOST_RUN_H
