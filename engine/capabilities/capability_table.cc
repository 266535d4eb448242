#include "capability_table.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

namespace ddpi {

const int kAc3DataRates[19] = {32,  40,  48,  56,  64,  80,  96,  112, 128, 160,
                               192, 224, 256, 320, 384, 448, 512, 576, 640};

namespace {

struct ModeBuilder {
  ddpi_enc_mode_caps_s& mode;

  void Range(int id, int lo, int hi, int def) {
    ddpi_enc_param_desc_s& d = Next(id, def);
    d.kind = DDPI_ENC_KIND_RANGE;
    d.min_value = lo;
    d.max_value = hi;
  }

  void List(int id, std::initializer_list<int> values, int def) {
    ddpi_enc_param_desc_s& d = Next(id, def);
    d.kind = DDPI_ENC_KIND_LIST;
    for (int v : values) d.values[d.count++] = v;
  }

  void ListRange(int id, int lo, int hi, int def) {
    ddpi_enc_param_desc_s& d = Next(id, def);
    d.kind = DDPI_ENC_KIND_LIST;
    for (int v = lo; v <= hi; ++v) d.values[d.count++] = v;
  }

 private:
  ddpi_enc_param_desc_s& Next(int id, int def) {
    ddpi_enc_param_desc_s& d = mode.params[mode.param_count++];
    std::memset(&d, 0, sizeof d);
    d.id = id;
    d.default_value = def;
    return d;
  }
};

struct ModeShape {
  int engine_mode;
  int max_rate;       // kbps; AC-3 modes further keep to kAc3DataRates
  int default_rate;
  bool three_downmix_preferences;  // E-AC-3 can signal Pro Logic II (dmixmod 3)
  std::initializer_list<int> coding_modes;
};

void DescribeMode(const ModeShape& shape, ddpi_enc_mode_caps_s& out) {
  std::memset(&out, 0, sizeof out);
  out.available = 1;
  ModeBuilder m{out};
  m.List(DDPI_ENC_PARAM_MODE, {shape.engine_mode}, shape.engine_mode);
  m.Range(DDPI_ENC_PARAM_DATARATE, 32, shape.max_rate, shape.default_rate);
  m.List(DDPI_ENC_PARAM_ACMOD, shape.coding_modes, 7);
  m.List(DDPI_ENC_PARAM_LFE, {0, 1}, 1);
  m.List(DDPI_ENC_PARAM_PH90, {0, 1}, 0);
  m.List(DDPI_ENC_PARAM_SURATT, {0, 1}, 0);
  m.List(DDPI_ENC_PARAM_DCFILT, {0, 1}, 1);
  m.List(DDPI_ENC_PARAM_LFEFILT, {0, 1}, 1);
  m.ListRange(DDPI_ENC_PARAM_DRC_LINE, 0, 5, 1);
  m.ListRange(DDPI_ENC_PARAM_DRC_RF, 0, 5, 1);
  // The library hands the dialogue level over negated (dB relative to full scale).
  m.Range(DDPI_ENC_PARAM_DIALNORM, 1, 31, 31);
  m.Range(DDPI_ENC_PARAM_DMIXMOD, 0, shape.three_downmix_preferences ? 3 : 2, 0);
  // Centre levels run +3 dB .. -inf (indices 0..7); surround levels -1.5 dB .. -inf (3..7),
  // the codes below 3 being reserved for surround levels in the bitstream.
  m.ListRange(DDPI_ENC_PARAM_LTRTCMIXLEV, 0, 7, 4);
  m.ListRange(DDPI_ENC_PARAM_LTRTSURMIXLEV, 3, 7, 4);
  m.ListRange(DDPI_ENC_PARAM_LOROCMIXLEV, 0, 7, 4);
  m.ListRange(DDPI_ENC_PARAM_LOROSURMIXLEV, 3, 7, 4);
  m.ListRange(DDPI_ENC_PARAM_DSUREXMOD, 0, 2, 0);
  m.List(DDPI_ENC_PARAM_ADCONVTYP, {0, 1}, 0);
  m.Range(DDPI_ENC_PARAM_MIXLEVEL, 80, 111, 105);
  m.List(DDPI_ENC_PARAM_COPYRIGHTB, {0, 1}, 0);
  m.List(DDPI_ENC_PARAM_ORIGBS, {0, 1}, 1);
  m.ListRange(DDPI_ENC_PARAM_BSMOD, 0, 7, 0);
  m.ListRange(DDPI_ENC_PARAM_ROOMTYP, 0, 2, 0);
  m.ListRange(DDPI_ENC_PARAM_DSURMOD, 0, 2, 0);
  m.List(DDPI_ENC_PARAM_INPUT_FORMAT, {1}, 1);
  m.Range(DDPI_ENC_PARAM_PRIMING_FRAMES, -16, 0, 0);
}

}  // namespace

void FillEncoderCapabilities(ddpi_enc_query_op_s* caps) {
  std::memset(caps, 0, sizeof *caps);
  caps->version = 1;
  // Dolby Digital Plus also codes 3/2 + Vhl/Vhr (19), 7.1 (21) and 6.1 (24) with a dependent
  // substream; the rate range holds for both substreams together.
  DescribeMode({DDPI_ENC_MODE_DDPLUS, 1024, 256, true, {0, 1, 2, 3, 4, 5, 6, 7, 19, 21, 24}},
               caps->modes[DDPI_ENC_MODE_DDPLUS]);
  DescribeMode({DDPI_ENC_MODE_DD, 640, 448, false, {0, 1, 2, 3, 4, 5, 6, 7}},
               caps->modes[DDPI_ENC_MODE_DD]);
  DescribeMode({DDPI_ENC_MODE_BLURAY_PRIMARY, 640, 640, false, {0, 1, 2, 3, 4, 5, 6, 7}},
               caps->modes[DDPI_ENC_MODE_BLURAY_PRIMARY]);
  DescribeMode({DDPI_ENC_MODE_BLURAY_SECONDARY, 256, 192, true, {1, 2, 7}},
               caps->modes[DDPI_ENC_MODE_BLURAY_SECONDARY]);
}

const ddpi_enc_param_desc_s* FindParameter(const ddpi_enc_query_op_s& caps, int mode,
                                           int param_id) {
  if (mode < 0 || mode >= DDPI_ENC_MAX_MODES) return nullptr;
  const ddpi_enc_mode_caps_s& m = caps.modes[mode];
  if (!m.available) return nullptr;
  for (int i = 0; i < m.param_count; ++i)
    if (m.params[i].id == param_id) return &m.params[i];
  return nullptr;
}

bool IsInDomain(const ddpi_enc_param_desc_s& desc, int value) {
  if (desc.kind == DDPI_ENC_KIND_LIST)
    return std::find(desc.values, desc.values + desc.count, value) != desc.values + desc.count;
  return value >= desc.min_value && value <= desc.max_value;
}

}  // namespace ddpi
