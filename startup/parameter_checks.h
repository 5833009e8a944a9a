#pragma once
// One look at the numeric values of a run's settings. The run converts every value with the
// lenient C conversions (a text that is no number reads as 0, "nan" and "inf" are taken as they
// are); nothing here changes a value. A value that is not a number or lies outside its sensible
// range gets one alert text naming the key, the value given and the value the run uses. Each
// check takes the value's text; the settings reader looks the keys up.
#include <string>
#include <vector>

namespace corvid {

// A real setting that must be finite and lie in [lowest, +inf) (above lowest when open).
struct RealRule {
  const char* key;
  double lowest;
  bool openAtLowest;
  const char* range;  // how the range reads in the alert, empty when any finite value is fine
};

void checkReal(const std::string& value, const RealRule& rule, std::vector<std::string>& alerts);
// co-elute: 0 (a single precursor per scan) or 1 (all co-eluting precursors).
void checkCoElute(const std::string& value, std::vector<std::string>& alerts);
// mars_model: a name of a model of its own, otherwise the fallback scores.
void checkMarsModel(const std::string& value, std::vector<std::string>& alerts);
// samplenumberinsvmlight: the text "-1" draws every scan, a count of 1 or more that many scans;
// anything else draws none.
void checkSampleNumber(const std::string& value, std::vector<std::string>& alerts);
// svmlight_charge_range: two whole numbers joined by "-". Without a "-" the export fails with its
// own message, so only the numbers are looked at here.
void checkChargeRange(const std::string& value, std::vector<std::string>& alerts);

// The alert text for the `datanum` of a parameter file, read as count; empty when it is fine (a
// negative count is: it processes no data path).
std::string dataCountAlert(const std::string& value, int count);

}  // namespace corvid
