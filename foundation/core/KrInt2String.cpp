#include "foundation/core/KrInt2String.h"

#include <charconv>

KR_SOURCE_VERSION;

std::string KrINT2STRING(KrU32 value, KrU32 radix) {
    if (radix < 2 || radix > 36) {
        return {};
    }
    char digits[32];
    auto const end =
        std::to_chars(digits, digits + sizeof digits, value, static_cast<int>(radix)).ptr;
    return std::string(digits, end);
}
