#pragma once
// One accepted (or candidate) precursor of an MS2 scan: what detection finds, the threshold
// filter keeps and the spectrum writers and the report export.
namespace corvid {

struct PrecursorRecord {
  double scan = 0.0;    // MS2 scan number (a whole number)
  double charge = 0.0;  // a whole number
  double mz = 0.0;      // recalibrated monoisotopic m/z
};

// Proton mass used throughout: m/z = (MH + (z - 1) * kProtonMass) / z.
inline constexpr double kProtonMass = 1.007276;

inline double mzFromMH(double mh, int charge) { return (mh + (charge - 1) * kProtonMass) / charge; }
inline double mhFromMz(double mz, int charge) { return charge * mz - (charge - 1) * kProtonMass; }

}  // namespace corvid
