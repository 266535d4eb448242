// What the session does with the messages the engine reports while it opens, takes
// parameters and encodes. The engine's return codes alone decide the outcome of a call, so a
// message never changes the session's state or error code.
#ifndef DOLBYDIGITAL_ENCODER_ENGINE_MESSAGE_HANDLER_H
#define DOLBYDIGITAL_ENCODER_ENGINE_MESSAGE_HANDLER_H

#include "dolbydigital/types.h"

namespace dolbydigital {

// The text of one engine message: "<message> Error occured in: <file> (line <n>)" for an
// error, "Dolby Digital Encoder Warning: <message>" otherwise. Null texts read "Unknown".
UTF16String FormatEngineMessage(int isError, const char* message, const char* file, int line);

// The callback handed to ddpi_enc_open. It builds the message text and drops it; the context
// pointer is not used.
void HandleEngineMessage(int isError, const char* message, const char* file, int line,
                         void* context);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_ENCODER_ENGINE_MESSAGE_HANDLER_H
