#include "parameters/constraint_table.h"

#include <memory>

#include "once_record.h"

#include "parameters/checked_lookup.h"
#include "parameters/constraint_rules.h"

namespace dolbydigital {
namespace {

using DependentsIndex =
    std::map<ParameterID, ParameterIDSet, std::less<ParameterID>,
             Allocator<std::pair<const ParameterID, ParameterIDSet>>>;

struct ConstraintTable {
  ConstraintEntries entries;
  DependentsIndex dependents;  // the inverse of every entry's `reads`
};

DependentsIndex IndexDependents(const ConstraintEntries& entries) {
  DependentsIndex dependents;
  for (const auto& entry : entries)
    for (ParameterID read : entry.second.reads) dependents[read].insert(entry.first);
  return dependents;
}

std::unique_ptr<const ConstraintTable> theTable;
OnceRecord tableOnce;

void BuildTable() {
  std::unique_ptr<ConstraintTable> table(new ConstraintTable());
  table->entries = BuildConstraintEntries();
  table->dependents = IndexDependents(table->entries);
  theTable = std::move(table);
}

const ConstraintTable& Table() {
  BuildOnce(tableOnce, BuildTable);
  return *theTable;
}

bool TakesEffect(const ConstraintRule& rule, int configuration) {
  return rule.configurations.empty() || rule.configurations.count(configuration) != 0;
}

}  // namespace

bool ApplyConstraints(ParameterID id, const ParameterMap& map, ParameterDomain& domain) {
  const ConstraintEntries& entries = Table().entries;
  const auto entry = entries.find(id);
  if (entry == entries.end()) return true;
  const int configuration = CheckedValue(map, kParameterID_ChannelConfiguration);
  for (const ConstraintRule& rule : entry->second.rules)
    if (TakesEffect(rule, configuration) && !rule.action(map, configuration, domain)) return false;
  return true;
}

ParameterIDSet DependentParameters(ParameterID id) {
  const DependentsIndex& dependents = Table().dependents;
  const auto it = dependents.find(id);
  return it == dependents.end() ? ParameterIDSet() : it->second;
}

}  // namespace dolbydigital
