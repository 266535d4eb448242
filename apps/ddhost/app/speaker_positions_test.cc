#include "speaker_positions.h"

#include <gtest/gtest.h>
#include <sndfile.h>

namespace ddhost {
namespace {

dolbydigital::ChannelLayout Layout(std::initializer_list<int> labels) {
  dolbydigital::ChannelLayout layout;
  for (int label : labels) layout.push_back(static_cast<tidemark::AudioChannelLabel>(label));
  return layout;
}

TEST(StoredOrder, DecodedLayoutsAreStoredInChannelMaskOrder) {
  struct Case {
    const char* name;
    dolbydigital::ChannelLayout layout;
    std::vector<std::size_t> source;
    std::vector<int> positions;
  };
  const Case cases[] = {
      {"3/2 + LFE", Layout({100, 101, 102, 103, 104, 105}), {0, 1, 2, 3, 4, 5},
       {SF_CHANNEL_MAP_FRONT_LEFT, SF_CHANNEL_MAP_FRONT_RIGHT, SF_CHANNEL_MAP_FRONT_CENTER, SF_CHANNEL_MAP_LFE,
        SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT}},
      // Without LFE the decoder lists the channels in the stream's own order.
      {"3/2", Layout({100, 102, 101, 104, 105}), {0, 2, 1, 3, 4},
       {SF_CHANNEL_MAP_FRONT_LEFT, SF_CHANNEL_MAP_FRONT_RIGHT, SF_CHANNEL_MAP_FRONT_CENTER,
        SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT}},
      {"3/4 + LFE", Layout({100, 101, 102, 103, 104, 105, 129, 130}), {0, 1, 2, 3, 6, 7, 4, 5},
       {SF_CHANNEL_MAP_FRONT_LEFT, SF_CHANNEL_MAP_FRONT_RIGHT, SF_CHANNEL_MAP_FRONT_CENTER, SF_CHANNEL_MAP_LFE,
        SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT, SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT}},
      {"2/1 + LFE", Layout({100, 101, 103, 106}), {0, 1, 2, 3},
       {SF_CHANNEL_MAP_FRONT_LEFT, SF_CHANNEL_MAP_FRONT_RIGHT, SF_CHANNEL_MAP_LFE, SF_CHANNEL_MAP_REAR_CENTER}},
      {"1/0", Layout({102}), {0}, {SF_CHANNEL_MAP_MONO}},
      {"1+1", Layout({0, 0}), {0, 1}, {SF_CHANNEL_MAP_FRONT_LEFT, SF_CHANNEL_MAP_FRONT_RIGHT}},
  };
  for (const Case& c : cases) {
    const StoredOrder order = StoredOrderFor(c.layout);
    EXPECT_TRUE(order.hasPositions) << c.name;
    EXPECT_EQ(order.source, c.source) << c.name;
    EXPECT_EQ(order.positions, c.positions) << c.name;
  }
  // A label with no speaker position keeps the decoder's order and records none.
  const StoredOrder unknown = StoredOrderFor(Layout({100, 101, 131}));
  EXPECT_FALSE(unknown.hasPositions);
  EXPECT_EQ(unknown.source, (std::vector<std::size_t>{0, 1, 2}));
}

TEST(StoredOrder, FileChannelMapsBecomeHostLabels) {
  std::string error;
  dolbydigital::ChannelLayout layout;
  // 7.1, mask 0x63F: the back pair is the rear surrounds, the side pair the surrounds.
  ASSERT_TRUE(LabelsForPositions(DefaultPositions(8), layout, error));
  EXPECT_EQ(layout, Layout({100, 101, 102, 103, 129, 130, 104, 105}));
  // 5.1 with back surrounds (mask 0x3F) or side surrounds (0x60F): surrounds either way.
  ASSERT_TRUE(LabelsForPositions(DefaultPositions(6), layout, error));
  EXPECT_EQ(layout, Layout({100, 101, 102, 103, 104, 105}));
  ASSERT_TRUE(LabelsForPositions({SF_CHANNEL_MAP_MONO}, layout, error));
  EXPECT_EQ(layout, Layout({102}));
  EXPECT_FALSE(LabelsForPositions({SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_TOP_REAR_LEFT}, layout, error));
  EXPECT_NE(error.find("channel 2 (top back left)"), std::string::npos) << error;
  EXPECT_TRUE(DefaultPositions(9).empty());
}

}  // namespace
}  // namespace ddhost
