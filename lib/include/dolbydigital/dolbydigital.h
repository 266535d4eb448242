// Everything the library exports.
#ifndef DOLBYDIGITAL_DOLBYDIGITAL_H
#define DOLBYDIGITAL_DOLBYDIGITAL_H

#include "dolbydigital/decoder.h"
#include "dolbydigital/encoder.h"
#include "dolbydigital/parameters.h"
#include "dolbydigital/persistence.h"
#include "dolbydigital/registration.h"
#include "dolbydigital/types.h"
#include "dolbye/decoder.h"

#endif  // DOLBYDIGITAL_DOLBYDIGITAL_H
