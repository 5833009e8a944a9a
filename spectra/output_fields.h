#pragma once
// The fields the spectrum writers format into a pending file's buffer: text writers put CR LF line
// ends in themselves, binary writers put little-endian fields, one by one.
#include <cstdint>
#include <string_view>

#include "platform/pending_file.h"

namespace corvid {

// Little-endian binary fields.
void putU32(PendingFile& out, std::uint32_t value);
void putF64(PendingFile& out, double value);

// Text pieces (no line-end translation: callers write "\r\n" themselves).
void putText(PendingFile& out, std::string_view text);
void putLineEnd(PendingFile& out);
void putInt(PendingFile& out, std::int64_t value);
// As printf "%.<precision>f" (fixed) and "%.<precision>g" (general), byte for byte.
void putFixed(PendingFile& out, double value, int precision);
void putGeneral(PendingFile& out, double value, int precision);
// As printf "%0<width>d": zero-padded to width, wider numbers in full.
void putZeroPadded(PendingFile& out, std::int64_t value, int width);

}  // namespace corvid
