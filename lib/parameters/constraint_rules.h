// The contents of the constraint table: every parameter's rules and what they read.
#ifndef DOLBYDIGITAL_PARAMETERS_CONSTRAINT_RULES_H
#define DOLBYDIGITAL_PARAMETERS_CONSTRAINT_RULES_H

#include "parameters/constraint_table.h"

namespace dolbydigital {

ConstraintEntries BuildConstraintEntries();

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_CONSTRAINT_RULES_H
