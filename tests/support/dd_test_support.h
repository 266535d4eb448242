// The shared test toolkit: test programme and signals, WAV files, FFmpeg as the reference
// decoder, temporary directories, and signal metrics.
#ifndef DD_TESTS_SUPPORT_DD_TEST_SUPPORT_H
#define DD_TESTS_SUPPORT_DD_TEST_SUPPORT_H

#include "ffmpeg_tool.h"
#include "metrics.h"
#include "planar.h"
#include "process.h"
#include "signals.h"
#include "temp_dir.h"
#include "wav_file.h"
#include "wav_image.h"

#endif  // DD_TESTS_SUPPORT_DD_TEST_SUPPORT_H
