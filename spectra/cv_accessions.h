#pragma once
// Accessions of the PSI-MS controlled vocabulary that Corvid reads from and writes into mzML, each
// named after its term (its name in psi-ms.obo), so the code that reads or writes a cvParam says
// what the parameter means.
#include <string_view>

namespace corvid::cv {

inline constexpr std::string_view kIonizationType = "MS:1000008";
inline constexpr std::string_view kScanStartTime = "MS:1000016";
inline constexpr std::string_view kDetectorType = "MS:1000026";
inline constexpr std::string_view kInstrumentModel = "MS:1000031";
inline constexpr std::string_view kMz = "MS:1000040";
inline constexpr std::string_view kChargeState = "MS:1000041";
inline constexpr std::string_view kDissociationMethod = "MS:1000044";
inline constexpr std::string_view kFourierTransformIonCyclotronResonance = "MS:1000079";
inline constexpr std::string_view kTimeOfFlight = "MS:1000084";
inline constexpr std::string_view kCentroidSpectrum = "MS:1000127";
inline constexpr std::string_view kProfileSpectrum = "MS:1000128";
inline constexpr std::string_view kNumberOfDetectorCounts = "MS:1000131";
inline constexpr std::string_view kCollisionInducedDissociation = "MS:1000133";
inline constexpr std::string_view kPlasmaDesorption = "MS:1000134";
inline constexpr std::string_view kPostSourceDecay = "MS:1000135";
inline constexpr std::string_view kSurfaceInducedDissociation = "MS:1000136";
inline constexpr std::string_view kElectronCaptureDissociation = "MS:1000250";
inline constexpr std::string_view kInfraredMultiphotonDissociation = "MS:1000262";
inline constexpr std::string_view kIonTrap = "MS:1000264";
inline constexpr std::string_view kBeamTypeCollisionInducedDissociation = "MS:1000422";
inline constexpr std::string_view kPhotodissociation = "MS:1000435";
inline constexpr std::string_view kMassAnalyzerType = "MS:1000443";
inline constexpr std::string_view kOrbitrap = "MS:1000484";
inline constexpr std::string_view kMsLevel = "MS:1000511";
inline constexpr std::string_view kFilterString = "MS:1000512";
inline constexpr std::string_view kMzArray = "MS:1000514";
inline constexpr std::string_view kIntensityArray = "MS:1000515";
inline constexpr std::string_view k32BitInteger = "MS:1000519";
inline constexpr std::string_view k32BitFloat = "MS:1000521";
inline constexpr std::string_view k64BitInteger = "MS:1000522";
inline constexpr std::string_view k64BitFloat = "MS:1000523";
inline constexpr std::string_view kSpectrumRepresentation = "MS:1000525";
inline constexpr std::string_view kIsbMzXmlFormat = "MS:1000566";
inline constexpr std::string_view kSha1 = "MS:1000569";
inline constexpr std::string_view kZlibCompression = "MS:1000574";
inline constexpr std::string_view kMs1Spectrum = "MS:1000579";
inline constexpr std::string_view kMsnSpectrum = "MS:1000580";
inline constexpr std::string_view kElectronTransferDissociation = "MS:1000598";
inline constexpr std::string_view kPulsedQDissociation = "MS:1000599";
inline constexpr std::string_view kSelectedIonMz = "MS:1000744";
inline constexpr std::string_view kScanNumberOnlyNativeIdFormat = "MS:1000776";
inline constexpr std::string_view kPrecursorRecalculation = "MS:1000780";
inline constexpr std::string_view kNoCombination = "MS:1000795";
inline constexpr std::string_view kCustomUnreleasedSoftwareTool = "MS:1000799";
inline constexpr std::string_view kIsolationWindowTargetMz = "MS:1000827";
inline constexpr std::string_view kIsolationWindowLowerOffset = "MS:1000828";
inline constexpr std::string_view kIsolationWindowUpperOffset = "MS:1000829";
inline constexpr std::string_view kIonInjectionTime = "MS:1000927";
inline constexpr std::string_view kNullTerminatedAsciiString = "MS:1001479";
inline constexpr std::string_view kFaimsCompensationVoltage = "MS:1001581";
inline constexpr std::string_view kMsNumpressLinearPredictionCompression = "MS:1002312";
inline constexpr std::string_view kMsNumpressPositiveIntegerCompression = "MS:1002313";
inline constexpr std::string_view kMsNumpressShortLoggedFloatCompression = "MS:1002314";
inline constexpr std::string_view kTrapTypeCollisionInducedDissociation = "MS:1002472";
inline constexpr std::string_view kHigherEnergyBeamTypeCollisionInducedDissociation = "MS:1002481";
inline constexpr std::string_view kMsNumpressLinearPredictionCompressionFollowedByZlibCompression = "MS:1002746";
inline constexpr std::string_view kMsNumpressPositiveIntegerCompressionFollowedByZlibCompression = "MS:1002747";
inline constexpr std::string_view kMsNumpressShortLoggedFloatCompressionFollowedByZlibCompression = "MS:1002748";
inline constexpr std::string_view kUltravioletPhotodissociation = "MS:1003246";
inline constexpr std::string_view kAsymmetricTrackLosslessTimeOfFlight = "MS:1003379";

}  // namespace corvid::cv
