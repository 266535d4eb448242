/*
 * Flat C interface of the codec engine's unified decoder (AC-3 and E-AC-3).
 *
 * The host feeds bytes with ddpi_udc_addbytes until a time slice (one frame of the
 * independent substream plus its dependent substreams) is complete, then decodes it with
 * ddpi_udc_processtimeslice and reads its metadata with ddpi_udc_gettimeslice_mdat and
 * ddpi_udc_getframe_mdat. Output is 32-bit integer PCM in the engine's channel order:
 * 0 L, 1 C, 2 R, 3 Ls, 4 Rs, 5 LFE, 6 and 7 the extra pair.
 *
 * Every function returns 0 on success or one of the DDPI_UDC_ERR_* codes.
 */
#ifndef DDPI_UDC_H
#define DDPI_UDC_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define DDPI_UDC_MAX_OUTPUT_CHANNELS 8
#define DDPI_UDC_MAX_PROGRAMS 8
#define DDPI_UDC_BLOCK_SAMPLES 256

enum {
  DDPI_UDC_ERR_NO_ERROR = 0,
  DDPI_UDC_ERR_GENERIC = 1001,
  DDPI_UDC_ERR_DEBUG = 1002,
  DDPI_UDC_ERR_UNSUPPORTED_PARAM = 1003,
  DDPI_UDC_ERR_INVALID_PARAM = 1004,
  DDPI_UDC_ERR_INVALID_PARAM_SIZE = 1005,
  DDPI_UDC_ERR_ADDFRAME_COMPLETETS = 1006,
  DDPI_UDC_ERR_INTERNAL_BUFFER = 1007,
  DDPI_UDC_ERR_PROGRAMCHANGE = 1008,
  DDPI_UDC_ERR_LIMITER = 1009,
  DDPI_UDC_ERR_PROCESSING = 1010,
  DDPI_UDC_ERR_INVALID_TIMESLICE = 1011,
  DDPI_UDC_ERR_PROG_INCONSISTENT_FS = 1012,
  DDPI_UDC_ERR_PROG_INCONSISTENT_NBLKS = 1013,
  DDPI_UDC_ERR_PROG_MISSING = 1014,
  DDPI_UDC_ERR_DUALMONO_INPUT = 1015,
  DDPI_UDC_ERR_INVALID_OUTMODE = 1016,
  DDPI_UDC_ERR_FRAME_NOT_PRESENT = 1020,
  DDPI_UDC_ERR_MDAT_NOT_AVAILABLE = 1021,
  DDPI_UDC_ERR_MDAT_CORRUPT = 1022,
  DDPI_UDC_ERR_MDAT_INVALID_TIMESLICE = 1023,
  DDPI_UDC_ERR_MDAT_INCOMPLETE_TIMESLICE = 1024,
  DDPI_UDC_ERR_INVALID_MDAT_ID = 1025,
  DDPI_UDC_ERR_MEMORY_NOT_ALIGNED = 1026
};

/* Process parameter ids (ddpi_udc_setprocessparam), each a 4-byte integer. */
enum {
  DDPI_UDC_PROC_INPUT_FORMAT = 0,    /* 0: elementary AC-3/E-AC-3 stream */
  DDPI_UDC_PROC_DRC_ENABLE = 2,      /* 1: apply the stream's line-mode DRC words */
  DDPI_UDC_PROC_OUTPUT_BITS = 3,     /* significant bits of the integer output (16..32) */
  DDPI_UDC_PROC_DIALNORM_ENABLE = 6, /* 1: honour dialogue normalisation in output level */
  DDPI_UDC_PROC_PROGRAM_SELECT = 7   /* program of a multi-program stream to decode */
};

/* Output parameter ids (ddpi_udc_setoutparam for output 0), each a 4-byte integer. */
enum {
  DDPI_UDC_OUT_CHANNEL_MODE = 0,     /* output channel mode; 21 = as coded */
  DDPI_UDC_OUT_LFE = 1,              /* 1: output the LFE channel */
  DDPI_UDC_OUT_DUALMONO = 2,         /* 0: both channels of 1+1 */
  DDPI_UDC_OUT_COMPRESSION = 3,      /* 0: line mode, 1: RF mode */
  DDPI_UDC_OUT_DRC_CUT = 5,          /* scale of the cut gains, 0..100 % */
  DDPI_UDC_OUT_DRC_BOOST = 6         /* scale of the boost gains, 0..100 % */
};

#define DDPI_UDC_OUTPUT_MODE_AS_CODED 21

/* Result of ddpi_udc_query: process-wide facts about the decoder. */
typedef struct ddpi_udc_query_op {
  int32_t version;
  int32_t decoder_delay;       /* output samples that precede the first input sample */
} ddpi_udc_query_op;

/* Setup for ddpi_udc_query_mem and ddpi_udc_open. */
typedef struct ddpi_udc_query_ip {
  uint8_t decode_main;         /* 1: decode the main program */
  uint8_t decode_associated;   /* 1: decode an associated program as well */
  uint8_t mix_programs;        /* 1: mix main and associated */
  uint8_t passthrough;         /* 1: also pass the bitstream through */
  uint8_t pcm_output;          /* 1: produce PCM */
  int32_t max_output_channels; /* 1..8 */
  int32_t input_mode;          /* output channel mode learned from a previous slice */
} ddpi_udc_query_ip;

typedef struct ddpi_udc_query_mem_op {
  size_t instance_size;        /* bytes of instance memory for ddpi_udc_open */
  size_t output_size;          /* bytes of the output buffer one time slice needs */
} ddpi_udc_query_mem_op;

/* Where the engine writes a time slice's PCM; set up by the caller, completed by the engine. */
typedef struct ddpi_udc_output_desc {
  int32_t* buffer;             /* caller's output buffer, 32-byte aligned */
  size_t buffer_size;          /* its size in bytes */
  int32_t sample_stride;       /* distance in samples between two samples of one channel */
  int32_t mode;                /* output channel mode actually produced */
} ddpi_udc_output_desc;

typedef struct ddpi_udc_pt_op {
  ddpi_udc_output_desc* output;                       /* set by the caller */
  int32_t output_present;                             /* non-zero when PCM was produced */
  int32_t error_or_skip;                              /* non-zero when the slice was skipped */
  int32_t block_count;                                /* 256-sample blocks in the slice */
  int32_t channel_count;                              /* engine channels with data */
  int32_t* channels[DDPI_UDC_MAX_OUTPUT_CHANNELS];    /* per engine channel, or null */
} ddpi_udc_pt_op;

/* Metadata ids. */
enum {
  DDPI_UDC_MDAT_TIMESLICE = 1,     /* ddpi_udc_gettimeslice_mdat */
  DDPI_UDC_MDAT_FRAME_BSI = 0,     /* ddpi_udc_getframe_mdat: ddpi_udc_frame_mdat */
  DDPI_UDC_MDAT_FRAME_SYNC = 1,    /* ddpi_udc_getframe_mdat: ddpi_udc_frame_mdat */
  DDPI_UDC_MDAT_FRAME_DRC = 2      /* ddpi_udc_getframe_mdat: ddpi_udc_frame_mdat */
};

typedef struct ddpi_udc_program_mdat {
  int32_t frame_index;         /* frame of this program inside the time slice */
  int32_t dialnorm;            /* 1..31 (dB below full scale) */
  int32_t bsmod;
  int32_t acmod;
  int32_t lfeon;
} ddpi_udc_program_mdat;

typedef struct ddpi_udc_timeslice_mdat {
  int32_t sample_rate_code;    /* fscod: 0 48 kHz, 1 44.1 kHz, 2 32 kHz */
  int32_t data_rate;           /* kbps of the whole time slice */
  int32_t output_channel_mode; /* acmod of the decoded program (or 21 for > 5.1) */
  int32_t lfe_present;
  uint16_t channel_map;        /* 16-bit channel-location map of the decoded program */
  int32_t block_count;
  int32_t program_count;
  ddpi_udc_program_mdat programs[DDPI_UDC_MAX_PROGRAMS];
} ddpi_udc_timeslice_mdat;

/* One frame's syncinfo and bitstream information; -1 marks a field the frame lacks. */
typedef struct ddpi_udc_frame_mdat {
  int32_t bsid;
  int32_t strmtyp;
  int32_t substreamid;
  int32_t fscod;
  int32_t frame_size;          /* bytes */
  int32_t num_blocks;
  int32_t acmod;
  int32_t lfeon;
  int32_t bsmod;
  int32_t dialnorm;
  int32_t copyrightb;
  int32_t origbs;
  int32_t dsurmod;
  int32_t dsurexmod;
  int32_t dheadphonmod;
  int32_t dmixmod;
  int32_t ltrtcmixlev;
  int32_t ltrtsurmixlev;
  int32_t lorocmixlev;
  int32_t lorosurmixlev;
  int32_t cmixlev;
  int32_t surmixlev;
  int32_t audprodie;
  int32_t mixlevel;
  int32_t roomtyp;
  int32_t adconvtyp;
  int32_t compre;
  int32_t compr;
  int32_t dynrng[6];           /* per block, -1 when not sent */
  uint16_t chanmap;            /* dependent substreams: custom channel map */
} ddpi_udc_frame_mdat;

typedef struct ddpi_udc_instance_s* ddpi_udc_handle;

int ddpi_udc_query(ddpi_udc_query_op* result);
int ddpi_udc_query_mem(const ddpi_udc_query_ip* setup, ddpi_udc_query_mem_op* result);
int ddpi_udc_open(const ddpi_udc_query_ip* setup, void* instance_memory, ddpi_udc_handle* instance);
int ddpi_udc_setprocessparam(ddpi_udc_handle instance, int32_t id, const void* value, int32_t size);
int ddpi_udc_setoutparam(ddpi_udc_handle instance, int32_t output, int32_t id, const void* value,
                         int32_t size);
int ddpi_udc_addbytes(ddpi_udc_handle instance, const uint8_t* bytes, size_t size, int32_t flags,
                      size_t* used, int32_t* timeslice_complete);
int ddpi_udc_processtimeslice(ddpi_udc_handle instance, ddpi_udc_pt_op* result);
int ddpi_udc_gettimeslice_mdat(ddpi_udc_handle instance, int32_t id, ddpi_udc_timeslice_mdat* mdat);
int ddpi_udc_getframe_mdat(ddpi_udc_handle instance, int32_t frame_index, int32_t id,
                           ddpi_udc_frame_mdat* mdat);
int ddpi_udc_close(ddpi_udc_handle instance);

#ifdef __cplusplus
}
#endif

#endif /* DDPI_UDC_H */
