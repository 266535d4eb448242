// MP4 and Matroska output through libavformat: the encoder's access units become packets
// of one audio track, stream-copied.
#ifndef DDHOST_CONTAINER_WRITER_H
#define DDHOST_CONTAINER_WRITER_H

#include <memory>
#include <string>

#include "stream_writer.h"

namespace ddhost {

// The libavformat muxer for a file extension ("mp4", "matroska"), or null.
const char* ContainerForExtension(const std::string& extension);

std::unique_ptr<StreamWriter> OpenContainerWriter(OutputFile& output, const char* muxer,
                                                  const StreamFormat& format, std::string& error);

// libavutil's channel mask of a host layout (FFmpeg's own 5.1 of an AC-3 stream is
// 5.1(side)); 0 when some channel has no position.
std::uint64_t ChannelMaskFor(const dolbydigital::ChannelLayout& layout);

}  // namespace ddhost

#endif  // DDHOST_CONTAINER_WRITER_H
