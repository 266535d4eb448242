// The engine describes every decoded programme in one of its output channel modes, and the
// library lays each out again from the channel map: for every configuration, with and
// without LFE, the two must agree, or a programme the engine decodes in full would come out
// as its independent substream alone (or with channels the host cannot place).
#include <gtest/gtest.h>

#include <cstdint>
#include <map>

#include "decoder/channel_map_layout.h"
#include "dolbydigital/parameters.h"
#include "output_channel_modes.h"

namespace {

// Channel-location map bit of each host label (A/52 Annex E, chanmap).
std::uint16_t MapBitOf(int label, int configuration) {
  static const std::map<int, std::uint16_t> kBits = {
      {100, 0x8000}, {102, 0x4000}, {101, 0x2000}, {104, 0x1000}, {105, 0x0800},
      {107, 0x0400}, {108, 0x0400}, {129, 0x0200}, {130, 0x0200}, {106, 0x0100},
      {111, 0x0080}, {109, 0x0040}, {110, 0x0040}, {118, 0x0020}, {119, 0x0020},
      {112, 0x0010}, {113, 0x0010}, {114, 0x0008}, {103, 0x0001}};
  // 2/1 and 3/1 carry their lone surround in the left-surround position.
  if (label == 106 && (configuration == 4 || configuration == 5)) return 0x1000;
  const auto it = kBits.find(label);
  return it == kBits.end() ? 0 : it->second;
}

std::uint16_t ChannelMapOf(int configuration, bool lfe) {
  // Dual mono's two unlabelled channels sit in the left and centre positions.
  if (configuration == 0) return lfe ? 0xC001 : 0xC000;
  std::uint16_t map = 0;
  for (const auto& channel : dolbydigital::GetAudioChannelLayout(
           static_cast<dolbydigital::AudioChannelConfiguration>(configuration), lfe))
    map |= MapBitOf(channel.label, configuration);
  return map;
}

TEST(OutputChannelModes, EveryConfigurationIsAnOutputModeTheLibraryLaysOutAgain) {
  for (int configuration = 0; configuration < 28; ++configuration)
    for (bool lfe : {false, true}) {
      SCOPED_TRACE(std::to_string(configuration) + (lfe ? " with LFE" : ""));
      const std::uint16_t map = ChannelMapOf(configuration, lfe);
      ASSERT_EQ(ddpi::udc::OutputModeOfChannelMap(map), configuration);
      const dolbydigital::StreamChannels channels =
          dolbydigital::ChannelsFromMap(map, configuration < 8 ? configuration : 21);
      EXPECT_EQ(channels.channelConfiguration, configuration);
      EXPECT_FALSE(channels.channelLayout.empty());
    }
}

TEST(OutputChannelModes, ChannelSetsNoConfigurationCarriesHaveNoMode) {
  EXPECT_EQ(ddpi::udc::OutputModeOfChannelMap(0xA201), ddpi::udc::kNoOutputMode)
      << "2/0 extended by the rear surround pair alone";
  EXPECT_EQ(ddpi::udc::OutputModeOfChannelMap(0xB001), 4) << "2/0 extended by a lone surround is 2/1";
  EXPECT_EQ(ddpi::udc::OutputModeOfChannelMap(0xA081), ddpi::udc::kNoOutputMode);
  EXPECT_EQ(ddpi::udc::OutputModeOfChannelMap(0xF802), ddpi::udc::kNoOutputMode) << "a second LFE";
  EXPECT_EQ(ddpi::udc::OutputModeOfChannelMap(0x0001), ddpi::udc::kNoOutputMode);
  EXPECT_EQ(ddpi::udc::OutputModeOfChannelMap(0xF805), 7) << "bit 0x0004 names no channel";
}

}  // namespace
