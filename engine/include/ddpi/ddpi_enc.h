/*
 * Flat C interface of the codec engine's encoder.
 *
 * A host opens one encoder instance per stream:
 *   ddpi_enc_query     - capability record: modes and the parameters each accepts
 *   ddpi_enc_querymem  - working-memory size, delay and tail for a static setup
 *   ddpi_enc_open      - instance inside a caller-owned memory pool
 *   ddpi_enc_setparams - (id, value) pairs, validated against the mode
 *   ddpi_enc_process   - one frame of 1536 samples per channel slot in, one frame out
 *   ddpi_enc_close     - ends the instance (the pool stays the caller's)
 *
 * Every function returns 0 on success or one of the DDPI_ENC_ERR_* codes.
 */
#ifndef DDPI_ENC_H
#define DDPI_ENC_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define DDPI_ENC_MAX_MODES 10        /* engine modes 0..9 */
#define DDPI_ENC_MAX_MODE_PARAMS 48  /* parameter descriptors per mode */
#define DDPI_ENC_MAX_LIST_VALUES 32  /* entries of one list-kind descriptor */
#define DDPI_ENC_NUM_SLOTS 11        /* input channel slots of ddpi_enc_process */
#define DDPI_ENC_FRAME_SAMPLES 1536  /* samples per channel per process call */
#define DDPI_ENC_OUTPUT_BYTES 49248  /* output buffer a caller must provide */

/* Engine modes. */
enum {
  DDPI_ENC_MODE_DDPLUS = 0,            /* E-AC-3, independent substream, 6 blocks per frame */
  DDPI_ENC_MODE_DD = 1,                /* AC-3 */
  DDPI_ENC_MODE_BLURAY_PRIMARY = 3,    /* AC-3 within Blu-ray limits */
  DDPI_ENC_MODE_BLURAY_SECONDARY = 4,  /* E-AC-3 up to 256 kbps, 1/0, 2/0 or 3/2 */
  DDPI_ENC_MODE_NONE = 10
};

/* Input channel slots of ddpi_enc_process_ip_s::channels. */
enum {
  DDPI_ENC_SLOT_L = 0,
  DDPI_ENC_SLOT_R = 1,
  DDPI_ENC_SLOT_C = 2,
  DDPI_ENC_SLOT_LFE = 3,
  DDPI_ENC_SLOT_LS = 4,
  DDPI_ENC_SLOT_RS = 5
  /* slots 6..10 carry the channels of the extended configurations */
};

/* Engine parameter ids (ddpi_enc_param_s::id). Values follow each field of the bitstream. */
enum {
  DDPI_ENC_PARAM_MODE = 1,            /* engine mode (read-only after open) */
  DDPI_ENC_PARAM_DATARATE = 3,        /* kbps */
  DDPI_ENC_PARAM_ACMOD = 4,           /* audio coding mode 0..7 */
  DDPI_ENC_PARAM_LFE = 5,             /* 0/1 */
  DDPI_ENC_PARAM_PH90 = 7,            /* 90 degree phase shift of the surrounds, 0/1 */
  DDPI_ENC_PARAM_SURATT = 8,          /* 3 dB attenuation of the surrounds, 0/1 */
  DDPI_ENC_PARAM_DCFILT = 10,         /* DC high-pass on full-bandwidth channels, 0/1 */
  DDPI_ENC_PARAM_LFEFILT = 11,        /* 120 Hz low-pass on LFE, 0/1 */
  DDPI_ENC_PARAM_DRC_LINE = 13,       /* line-mode DRC profile 0..5 (dynrng) */
  DDPI_ENC_PARAM_DRC_RF = 15,         /* RF-mode DRC profile 0..5 (compr) */
  DDPI_ENC_PARAM_DIALNORM = 18,       /* dialogue level 1..31 (dB below full scale; the dialnorm field) */
  DDPI_ENC_PARAM_DMIXMOD = 20,        /* preferred stereo downmix */
  DDPI_ENC_PARAM_LTRTCMIXLEV = 23,    /* mix level indices 0..7: +3 dB .. -inf */
  DDPI_ENC_PARAM_LTRTSURMIXLEV = 24,
  DDPI_ENC_PARAM_LOROCMIXLEV = 25,
  DDPI_ENC_PARAM_LOROSURMIXLEV = 26,
  DDPI_ENC_PARAM_DSUREXMOD = 27,      /* 0 not indicated, 1 off, 2 on */
  DDPI_ENC_PARAM_ADCONVTYP = 29,      /* 0 standard, 1 HDCD */
  DDPI_ENC_PARAM_MIXLEVEL = 31,       /* peak mixing level, dB SPL 80..111 */
  DDPI_ENC_PARAM_COPYRIGHTB = 33,
  DDPI_ENC_PARAM_ORIGBS = 34,
  DDPI_ENC_PARAM_BSMOD = 35,
  DDPI_ENC_PARAM_ROOMTYP = 36,
  DDPI_ENC_PARAM_DSURMOD = 38,        /* 0 not indicated, 1 off, 2 on */
  DDPI_ENC_PARAM_INPUT_FORMAT = 39,   /* 1: planar 32-bit float in [-1, 1] (the only format) */
  DDPI_ENC_PARAM_PRIMING_FRAMES = 69  /* minus the number of leading frames the host discards */
};

/* Descriptor kinds. */
enum { DDPI_ENC_KIND_RANGE = 1, DDPI_ENC_KIND_LIST = 2 };

/* Error codes. */
enum {
  DDPI_ENC_ERR_NO_ERROR = 0,
  DDPI_ENC_ERR_FATAL = 1,
  DDPI_ENC_ERR_RATE = 2,
  DDPI_ENC_ERR_CHANS = 3,
  DDPI_ENC_ERR_BITRATE = 4,
  DDPI_ENC_ERR_SMPRATE = 5,
  DDPI_ENC_ERR_INITPARAMS = 16,
  DDPI_ENC_ERR_UNSUPPORTED_PARAM = 21,
  DDPI_ENC_ERR_READONLY_PARAM = 22,
  DDPI_ENC_ERR_BLOCKSIZE = 23,
  DDPI_ENC_ERR_UNSUPPORTED_MODE = 24,
  DDPI_ENC_ERR_NULL_PARAMETER = 25,
  DDPI_ENC_ERR_MAX_CHANS = 27,
  DDPI_ENC_ERR_OUTPUT_BUFFER_DESCRIPTOR = 28,
  DDPI_ENC_ERR_INPUT_BUFFER_DESCRIPTOR = 29,
  DDPI_ENC_ERR_INVALID_AUDIO_CODING_MODE = 30,
  DDPI_ENC_ERR_INVALID_DIALNORM = 31,
  DDPI_ENC_ERR_INVALID_LFEFILTERFLAG = 32,
  DDPI_ENC_ERR_INVALID_DCFILTERFLAG = 33,
  DDPI_ENC_ERR_INVALID_COMPR_PROFILE = 34,
  DDPI_ENC_ERR_INVALID_DYNRNG_PROFILE = 36,
  DDPI_ENC_ERR_INVALID_LFE_MODE = 38,
  DDPI_ENC_ERR_INVALID_PH90FILTERFLAG = 43,
  DDPI_ENC_ERR_INVALID_SURATTFLAG = 44,
  DDPI_ENC_ERR_INVALID_DMIXMOD = 45,
  DDPI_ENC_ERR_INVALID_LTRTCMIXLEV = 46,
  DDPI_ENC_ERR_INVALID_LTRTSURMIXLEV = 47,
  DDPI_ENC_ERR_INVALID_LOROCMIXLEV = 48,
  DDPI_ENC_ERR_INVALID_LOROSURMIXLEV = 49,
  DDPI_ENC_ERR_INVALID_DSUREXMOD = 50,
  DDPI_ENC_ERR_INVALID_ADCONVTYP = 52,
  DDPI_ENC_ERR_INVALID_MIXLEVEL = 53,
  DDPI_ENC_ERR_INVALID_COPYRIGHTB = 54,
  DDPI_ENC_ERR_INVALID_ORIGBS = 55,
  DDPI_ENC_ERR_INVALID_BSMOD = 56,
  DDPI_ENC_ERR_INVALID_ROOMTYP = 57,
  DDPI_ENC_ERR_INVALID_DSURMOD = 58,
  DDPI_ENC_ERR_INVALID_DATARATE = 59,
  DDPI_ENC_ERR_UNEXPECTED_PARAMETER = 160,
  DDPI_ENC_ERR_PARAMETER_ACCESS = 172,
  DDPI_ENC_UNSUPPORTED_PARAM = 7979
};

/* One (id, value) pair handed to ddpi_enc_setparams. */
typedef struct ddpi_enc_param_s {
  int32_t id;
  int32_t value;
} ddpi_enc_param_s;

/* What a mode accepts for one parameter. */
typedef struct ddpi_enc_param_desc_s {
  int32_t id;             /* DDPI_ENC_PARAM_* */
  int32_t default_value;
  int32_t kind;           /* DDPI_ENC_KIND_RANGE or DDPI_ENC_KIND_LIST */
  int32_t min_value;      /* range kind: inclusive bounds */
  int32_t max_value;
  int32_t count;          /* list kind: number of entries in values */
  int32_t values[DDPI_ENC_MAX_LIST_VALUES];
} ddpi_enc_param_desc_s;

typedef struct ddpi_enc_mode_caps_s {
  int32_t available;      /* non-zero when the engine offers this mode */
  int32_t param_count;    /* entries used in params */
  ddpi_enc_param_desc_s params[DDPI_ENC_MAX_MODE_PARAMS];
} ddpi_enc_mode_caps_s;

/* Capability record filled by ddpi_enc_query. */
typedef struct ddpi_enc_query_op_s {
  int32_t version;        /* engine interface version */
  ddpi_enc_mode_caps_s modes[DDPI_ENC_MAX_MODES];
} ddpi_enc_query_op_s;

/* Setup known before an instance is opened. */
typedef struct ddpi_enc_static_params_s {
  int32_t mode;           /* engine mode */
  int32_t input_channels; /* slots the host may feed (1..11) */
} ddpi_enc_static_params_s;

/* Result of ddpi_enc_querymem. */
typedef struct ddpi_enc_querymem_op_s {
  size_t memory_size;     /* bytes of working memory ddpi_enc_open needs */
  int32_t delay_samples;  /* input-to-output delay of the engine */
  int32_t tail_samples;   /* samples still inside the engine after the last input frame */
} ddpi_enc_querymem_op_s;

typedef struct ddpi_enc_memory_pool_s {
  size_t size;
  void* data;             /* at least 32-byte aligned */
} ddpi_enc_memory_pool_s;

/* Receives the engine's messages: error flag, text, source file, line, context. */
typedef void (*ddpi_enc_message_callback)(int is_error, const char* message, const char* file,
                                          int line, void* context);

typedef struct ddpi_enc_process_ip_s {
  int32_t samples;                                 /* must be DDPI_ENC_FRAME_SAMPLES */
  const float* channels[DDPI_ENC_NUM_SLOTS];       /* one plane per slot, never null */
} ddpi_enc_process_ip_s;

typedef struct ddpi_enc_process_op_s {
  uint8_t* buffer;        /* caller's output buffer */
  size_t buffer_size;     /* its size, at least one frame */
  int32_t bytes_written;  /* bytes of the frame(s) produced by this call */
} ddpi_enc_process_op_s;

typedef struct ddpi_enc_instance_s* ddpi_enc_handle;

int ddpi_enc_query(ddpi_enc_query_op_s* caps);
int ddpi_enc_querymem(const ddpi_enc_static_params_s* setup, ddpi_enc_querymem_op_s* result);
int ddpi_enc_open(ddpi_enc_handle* instance, const ddpi_enc_static_params_s* setup,
                  const ddpi_enc_memory_pool_s* pool, ddpi_enc_message_callback callback,
                  void* callback_context);
int ddpi_enc_setparams(ddpi_enc_handle instance, int32_t program, int32_t count,
                       const ddpi_enc_param_s* params);
int ddpi_enc_process(ddpi_enc_handle instance, const ddpi_enc_process_ip_s* input,
                     ddpi_enc_process_op_s* output);
int ddpi_enc_close(ddpi_enc_handle instance);

#ifdef __cplusplus
}
#endif

#endif /* DDPI_ENC_H */
