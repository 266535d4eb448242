// Decoder::GetErrorDescription: the user's text for a decoder error code.
#include <cstdio>

#include "basalt/localization.h"
#include "dolbydigital/decoder.h"

namespace dolbydigital {
namespace {

struct ErrorText {
  int code;
  const char* key;
};

const ErrorText kErrorTexts[] = {
    {0, "$$$/corvexa/DDPI_UDC_ERR_NO_ERROR=(No Error)"},
    {1001, "$$$/corvexa/DDPI_UDC_ERR_GENERIC=DDPI_UDC_ERR_GENERIC"},
    {1002, "$$$/corvexa/DDPI_UDC_ERR_DEBUG=DDPI_UDC_ERR_DEBUG"},
    {1003, "$$$/corvexa/DDPI_UDC_ERR_UNSUPPORTED_PARAM=DDPI_UDC_ERR_UNSUPPORTED_PARAM"},
    {1004, "$$$/corvexa/DDPI_UDC_ERR_INVALID_PARAM=DDPI_UDC_ERR_INVALID_PARAM"},
    {1005, "$$$/corvexa/DDPI_UDC_ERR_INVALID_PARAM_SIZE=DDPI_UDC_ERR_INVALID_PARAM_SIZE"},
    {1006, "$$$/corvexa/DDPI_UDC_ERR_ADDFRAME_COMPLETETS=DDPI_UDC_ERR_ADDFRAME_COMPLETETS"},
    {1007, "$$$/corvexa/DDPI_UDC_ERR_INTERNAL_BUFFER=DDPI_UDC_ERR_INTERNAL_BUFFER"},
    {1008, "$$$/corvexa/DDPI_UDC_ERR_PROGRAMCHANGE=DDPI_UDC_ERR_PROGRAMCHANGE"},
    {1009, "$$$/corvexa/DDPI_UDC_ERR_LIMITER=DDPI_UDC_ERR_LIMITER"},
    {1010, "$$$/corvexa/DDPI_UDC_ERR_PROCESSING=DDPI_UDC_ERR_PROCESSING"},
    {1011, "$$$/corvexa/DDPI_UDC_ERR_INVALID_TIMESLICE=DDPI_UDC_ERR_INVALID_TIMESLICE"},
    {1012, "$$$/corvexa/DDPI_UDC_ERR_PROG_INCONSISTENT_FS=DDPI_UDC_ERR_PROG_INCONSISTENT_FS"},
    {1013, "$$$/corvexa/DDPI_UDC_ERR_PROG_INCONSISTENT_NBLKS=DDPI_UDC_ERR_PROG_INCONSISTENT_NBLKS"},
    {1014, "$$$/corvexa/DDPI_UDC_ERR_PROG_MISSING=DDPI_UDC_ERR_PROG_MISSING"},
    {1015, "$$$/corvexa/DDPI_UDC_ERR_DUALMONO_INPUT=DDPI_UDC_ERR_DUALMONO_INPUT"},
    {1016, "$$$/corvexa/DDPI_UDC_ERR_INVALID_OUTMODE=DDPI_UDC_ERR_INVALID_OUTMODE"},
    {1020, "$$$/corvexa/DDPI_UDC_ERR_FRAME_NOT_PRESENT=metadata function called on frame that was not present"},
    {1021, "$$$/corvexa/DDPI_UDC_ERR_MDAT_NOT_AVAILABLE=metadata not available for requested frame"},
    {1022, "$$$/corvexa/DDPI_UDC_ERR_MDAT_CORRUPT=metadata corrupt for requested frame"},
    {1023, "$$$/corvexa/DDPI_UDC_ERR_MDAT_INVALID_TIMESLICE=invalid time slice, no metadata available"},
    {1024, "$$$/corvexa/DDPI_UDC_ERR_MDAT_INCOMPLETE_TIMESLICE=incomplete time slice, no metadata available"},
    {1025, "$$$/corvexa/DDPI_UDC_ERR_INVALID_MDAT_ID=invalid metadata id, no metadata available"},
    {1026, "$$$/corvexa/DDPI_UDC_ERR_MEMORY_NOT_ALIGNED=Memory must be 32-bit aligned"},
};

}  // namespace

UTF16String Decoder::GetErrorDescription(int error) {
  for (const ErrorText& entry : kErrorTexts)
    if (entry.code == error) return basalt::config::Localizer::Get().Lookup(entry.key);
  char number[16];
  std::snprintf(number, sizeof number, "%i", error);
  return basalt::LocalizeString("$$$/corvexa/dolbydigital/decoder/UnknownError=Unknown Error: @0",
                                basalt::AsciiToUTF16(number));
}

}  // namespace dolbydigital
