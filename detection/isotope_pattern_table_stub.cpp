// TEMPORARY stand-in for the isotope pattern table so that detection links and its tests run
// before the real table loader is merged. Delete this file on merge.
#include "detection/isotope_pattern_table.h"

namespace corvid {

IsotopePatternTable& isotopePatternTable() {
  static IsotopePatternTable table;
  return table;
}

void loadIsotopePatternTable(const std::string&) {}

IsotopePattern isotopePattern(double neutralMass) {
  if (!(neutralMass >= 0.0) || neutralMass >= kIsotopeTableRows) return IsotopePattern{};
  return isotopePatternTable().rows[static_cast<std::size_t>(neutralMass)];
}

}  // namespace corvid
