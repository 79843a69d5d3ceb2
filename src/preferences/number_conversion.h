#pragma once

#include <cstdint>
#include <optional>

#include "platform/ports/stored_value.h"

namespace halvard {

/// Numbers as the stored-settings accessors read them: number objects, and strings that spell a number ("42", " 2.5 ",
/// "1e3", surrounding blanks allowed). A real is truncated towards zero. Nothing for every other object, for other
/// text, and for numbers that do not fit the target.
std::optional<std::int64_t> convertedInteger(const StoredValue& stored);
std::optional<std::uint64_t> convertedUnsigned(const StoredValue& stored);
std::optional<double> convertedReal(const StoredValue& stored);

/// As above; the words true, yes, false and no count too, in any case.
std::optional<bool> convertedBool(const StoredValue& stored);

}  // namespace halvard
