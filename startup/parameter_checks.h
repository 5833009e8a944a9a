#pragma once
// One look at the numeric settings of a run. Every value is still converted where it is used, with
// the lenient C conversions (a text that is no number reads as 0, "nan" and "inf" are taken as
// they are); nothing here changes a value. A value that is not a number or lies outside its
// sensible range gets one "Alert" line naming the key, the value given and the value the run uses.
#include <string>
#include <vector>

#include "startup/parameter_table.h"

namespace corvid {

// The alert texts for the settings that a run reads (datanum excepted), in table order: empty
// when every value is a number in its range. Keys the run does not read with the current
// switches (the SVMlight keys without outputsvmlight, a threshold that another setting replaces)
// are not looked at.
std::vector<std::string> parameterValueAlerts(const ParameterTable& table);

// The alert text for the `datanum` of a parameter file, read as count; empty when it is fine.
std::string dataCountAlert(const std::string& value, int count);

// Logs each alert of parameterValueAlerts with label "Alert". Called once per run by runOnce.
void checkParameterValues(const ParameterTable& table);

}  // namespace corvid
