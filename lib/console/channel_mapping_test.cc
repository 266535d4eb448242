#include "console/channel_mapping.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "temp_dir.h"
#include "wav_image.h"

namespace dolbydigital {
namespace {

using ddtest::WavImage;

class ChannelMappingTest : public ::testing::Test {
 protected:
  // The placement warnings for a file of `channels` (extensible with `mask` when not 0) on
  // the stream layout `stream`.
  std::vector<std::string> Place(std::uint16_t channels, std::uint32_t mask,
                                 const ChannelLayout& stream) {
    WavImage wav;
    wav.channels = channels;
    if (mask) wav.tag = 0xFFFE, wav.mask = mask;
    const std::string path = dir_.File("in.wav");
    EXPECT_TRUE(wav.Write(path));
    const WavReader reader(basalt::UTF8to16(path.c_str()));
    return DescribeChannelPlacement(reader, FileChannelLabels(reader), stream, "the stream");
  }
  ddtest::TempDir dir_{"channel_mapping"};
};

const ChannelLayout k51 = tidemark::CreateBroadcast51ChannelLayout();
const ChannelLayout k50 = {tidemark::kAudioChannelLabel_Left, tidemark::kAudioChannelLabel_Right,
                           tidemark::kAudioChannelLabel_Center,
                           tidemark::kAudioChannelLabel_LeftSurround,
                           tidemark::kAudioChannelLabel_RightSurround};

TEST_F(ChannelMappingTest, ChannelsOnTheirOwnSpeakersDrawNoWarning) {
  EXPECT_TRUE(Place(6, 0, k51).empty());
  EXPECT_TRUE(Place(6, 0x3F, k51).empty());   // back surrounds
  EXPECT_TRUE(Place(6, 0x60F, k51).empty());  // side surrounds
  EXPECT_TRUE(Place(5, 0x607, k50).empty());
  EXPECT_TRUE(Place(1, 0, ChannelLayout{tidemark::kAudioChannelLabel_Center}).empty());
  const ChannelLayout dualMono(2, tidemark::AudioChannelDescription(tidemark::kAudioChannelLabel_Discrete));
  EXPECT_TRUE(Place(2, 0, dualMono).empty());
}

TEST_F(ChannelMappingTest, FileOrderPlacementIsSpelledOut) {
  EXPECT_EQ(Place(4, 0x33, k51),
            std::vector<std::string>{
                "the file's channels are L R Ls Rs (by its channel mask 0x33), but this command "
                "takes 1 channel as mono, 2 as stereo and any other count as 5.1 (L R C LFE Ls "
                "Rs) and feeds them to the stream in file order: the stream (the stream) gets L = "
                "file L, R = file R, C = file Ls, LFE = file Rs, Ls = silence, Rs = silence"});
  EXPECT_EQ(Place(1, 0, k50),
            std::vector<std::string>{
                "the file's channels are C (by their count), but this command takes 1 channel as "
                "mono, 2 as stereo and any other count as 5.1 (L R C LFE Ls Rs) and feeds them to "
                "the stream in file order: the stream (the stream) gets L = file C, R = silence, C "
                "= silence, Ls = silence, Rs = silence"});
  EXPECT_EQ(Place(2, 0, k50), std::vector<std::string>{
                                  "the stream (the stream) has more channels than the file: its "
                                  "C Ls Rs stay silent"});
  EXPECT_EQ(Place(8, 0, k51),
            std::vector<std::string>{"the file's Lrs Rrs have no place in the stream (the "
                                     "stream) and are left out"});
  // A header may declare thousands of channels; the warning names a few and counts the rest.
  const std::vector<std::string> many = Place(4000, 0, k51);
  ASSERT_EQ(many.size(), 2u);
  EXPECT_NE(many[0].find("channel 16 and 3984 more (by their count)"), std::string::npos) << many[0];
  EXPECT_EQ(many[1],
                "the file's channel 7 channel 8 channel 9 channel 10 channel 11 channel 12 "
                "channel 13 channel 14 channel 15 channel 16 channel 17 channel 18 channel 19 "
                "channel 20 channel 21 channel 22 and 3978 more have no place in the stream (the "
                "stream) and are left out");
}

}  // namespace
}  // namespace dolbydigital
