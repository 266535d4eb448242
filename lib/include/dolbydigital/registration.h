// Entry points a host calls once after loading the library and once before unloading it:
// they add and remove the console commands "dolbydigital.Encode" and "dolbydigital.Info"
// and the library's self-checks.
#ifndef DOLBYDIGITAL_REGISTRATION_H
#define DOLBYDIGITAL_REGISTRATION_H

namespace dolbydigital {

void RegisterCommandAndTests();
void UnregisterCommandAndTests();

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_REGISTRATION_H
