// Tools that encode or decode need the codec engine module. Without it every library call
// fails with a generic error that reads as if the stream or the settings were at fault, so
// these tools check first and say what is really missing.
#ifndef DDHOST_ENGINE_CHECK_H
#define DDHOST_ENGINE_CHECK_H

namespace ddhost {

// True when the engine module is loaded; otherwise prints "<who>: the engine module PATH
// could not be loaded: REASON" to stderr.
bool RequireEngine(const char* who);

}  // namespace ddhost

#endif  // DDHOST_ENGINE_CHECK_H
