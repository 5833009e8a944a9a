#pragma once
// Scan numbers out of the texts search results name spectra by.
#include <string_view>

namespace corvid::reflist {

// The scan of a spectrum title or pepXML spectrum name: "scan=N" anywhere in it, else the
// "stem.FIRST.LAST.CHARGE" convention of Trans-Proteomic Pipeline tools and msconvert's MGF
// titles (FIRST). 0 when the text holds neither.
long scanFromTitle(std::string_view title);

// The scan of an mzIdentML spectrumID: "scan=N" -> N; "index=N" (a 0-based position, as for MGF
// peak lists) -> N + 1, the 1-based position Comet and Corvid number such spectra by; any other
// id -> its last run of digits, as Corvid reads native scan numbers ("spectrum=2442" -> 2442).
// 0 when the id holds no digits.
long scanFromSpectrumId(std::string_view spectrumId);

}  // namespace corvid::reflist
