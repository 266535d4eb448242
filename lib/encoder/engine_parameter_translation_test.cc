#include "encoder/engine_parameter_translation.h"

#include <gtest/gtest.h>

#include "capability_table.h"

namespace dolbydigital {
namespace {

class EngineParameterTranslation : public ::testing::Test {
 protected:
  EngineParameterTranslation() { ddpi::FillEncoderCapabilities(&caps_); }

  // The value sent for (engine id, value) in `mode`, or -999 for "unsupported".
  int Sent(int mode, int id, int value) const {
    int sent = 0;
    return ValidateEngineParameter(caps_, mode, id, value, sent) ? sent : -999;
  }

  ddpi_enc_query_op_s caps_;
};

TEST_F(EngineParameterTranslation, ValuesInTheDomainPassUnchanged) {
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, DDPI_ENC_PARAM_DATARATE, 384), 384);
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, DDPI_ENC_PARAM_MIXLEVEL, 80), 80);
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, DDPI_ENC_PARAM_MIXLEVEL, 111), 111);
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DDPLUS, DDPI_ENC_PARAM_BSMOD, 7), 7);
}

TEST_F(EngineParameterTranslation, ValuesOutsideTheDomainBecomeTheDefaultNotTheBound) {
  // Range kind: both sides give the default (105), never the nearest bound.
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, DDPI_ENC_PARAM_MIXLEVEL, 79), 105);
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, DDPI_ENC_PARAM_MIXLEVEL, 112), 105);
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, DDPI_ENC_PARAM_DATARATE, 641), 448);
  // List kind.
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, DDPI_ENC_PARAM_LTRTSURMIXLEV, 1), 4);
  EXPECT_EQ(Sent(DDPI_ENC_MODE_BLURAY_SECONDARY, DDPI_ENC_PARAM_ACMOD, 3), 7);
}

TEST_F(EngineParameterTranslation, ParametersTheModeLacksAreUnsupported) {
  EXPECT_EQ(Sent(DDPI_ENC_MODE_NONE, DDPI_ENC_PARAM_DATARATE, 384), -999);
  EXPECT_EQ(Sent(2, DDPI_ENC_PARAM_DATARATE, 384), -999);  // mode 2 is not offered
  EXPECT_EQ(Sent(-1, DDPI_ENC_PARAM_DATARATE, 384), -999);
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, 0, 1), -999);
  EXPECT_EQ(Sent(DDPI_ENC_MODE_DD, 2, 1), -999);
}

TEST_F(EngineParameterTranslation, MapBecomesEnginePairsInKeyOrder) {
  ParameterMap params;
  params[kParameterID_RoomType] = 2;
  params[kParameterID_CodecMode] = kCodecMode_Bluray_Primary;
  params[kParameterID_PeakMixLevel] = 90;
  params[kParameterID_DataRate] = 9999;
  params[static_cast<ParameterID>(40)] = 1;  // no engine parameter: dropped
  const EngineParameterList pairs =
      TranslateParameters(caps_, DDPI_ENC_MODE_BLURAY_PRIMARY, params);
  ASSERT_EQ(pairs.size(), 4u);
  EXPECT_EQ(pairs[0].id, DDPI_ENC_PARAM_MODE);
  EXPECT_EQ(pairs[0].value, DDPI_ENC_MODE_BLURAY_PRIMARY);
  EXPECT_EQ(pairs[1].id, DDPI_ENC_PARAM_DATARATE);
  EXPECT_EQ(pairs[1].value, 640);  // out of range: the mode's default
  EXPECT_EQ(pairs[2].id, DDPI_ENC_PARAM_MIXLEVEL);
  EXPECT_EQ(pairs[2].value, 90);
  EXPECT_EQ(pairs[3].id, DDPI_ENC_PARAM_ROOMTYP);
  EXPECT_EQ(pairs[3].value, 2);
  EXPECT_GE(pairs.capacity(), params.size() + 3);
}

}  // namespace
}  // namespace dolbydigital
