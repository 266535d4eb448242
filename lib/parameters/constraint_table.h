// The library's own knowledge of where each parameter applies and how its domain narrows
// with the rest of the configuration. The engine says what a mode can carry; this table
// says what makes sense for the channel configuration and mode at hand. Built once per
// process and read-only afterwards.
#ifndef DOLBYDIGITAL_PARAMETERS_CONSTRAINT_TABLE_H
#define DOLBYDIGITAL_PARAMETERS_CONSTRAINT_TABLE_H

#include <map>
#include <vector>

#include "dolbydigital/types.h"

namespace dolbydigital {

// The domain GetParameterInfo is building for one parameter; rules narrow it in place.
struct ParameterDomain {
  ParameterValueSet& values;  // empty: a continuous range lowest..highest
  int& defaultValue;
  int& lowest;
  int& highest;
};

// A rule narrows `domain` for the map (whose channel configuration is `configuration`) and
// answers whether the parameter applies at all.
using RuleAction = bool (*)(const ParameterMap& map, int configuration, ParameterDomain& domain);

using ConfigurationSet = std::set<int, std::less<int>, Allocator<int>>;

struct ConstraintRule {
  ConfigurationSet configurations;  // where the rule takes effect; empty: everywhere
  RuleAction action;
};

struct ParameterConstraint {
  ParameterIDSet reads;  // the parameters the rules look at besides the configuration
  std::vector<ConstraintRule, Allocator<ConstraintRule>> rules;
};

using ConstraintEntries =
    std::map<ParameterID, ParameterConstraint, std::less<ParameterID>,
             Allocator<std::pair<const ParameterID, ParameterConstraint>>>;

// Runs the rules of `id`, in order, against `domain`. False when a rule says the parameter
// does not apply; true for a parameter without rules. Throws std::out_of_range when `id`
// has rules and the map lacks its channel configuration.
bool ApplyConstraints(ParameterID id, const ParameterMap& map, ParameterDomain& domain);

// The parameters whose domain is computed from `id`: those to check again when it
// changes. Empty for a parameter nothing reads and for values outside the enumeration.
ParameterIDSet DependentParameters(ParameterID id);

}  // namespace dolbydigital

#endif  // DOLBYDIGITAL_PARAMETERS_CONSTRAINT_TABLE_H
