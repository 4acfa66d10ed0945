// Decoding takes any bytes; whatever it yields must survive an encode/decode round
// trip. With the first byte odd, the next 64 bytes are tried as the alphabet.
#include "gb_json.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace {
const char kStandard[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* text = reinterpret_cast<const char*>(data);
    gb::base64 codec;
    bool defaultAlphabet = true;
    if (size > 65 && (data[0] & 1)) {
        const std::string table(text + 1, 64);
        defaultAlphabet = table == kStandard || !codec.set_base64_table(table.c_str());
        text += 65;
        size -= 65;
    }

    const std::string decoded = codec.decode(text, size);
    if (decoded.size() > size)
        __builtin_trap();
    const std::string encoded = codec.encode(decoded.data(), decoded.size());
    const std::string wrapped = codec.encode(decoded.data(), decoded.size(), 76, false);
    // Another alphabet may choose its first character as padding, which cannot
    // round-trip by design; the standard one must.
    if (defaultAlphabet && codec.decode(encoded.data(), encoded.size()) != decoded)
        __builtin_trap();
    if (defaultAlphabet && codec.decode(wrapped.data(), wrapped.size()) != decoded)
        __builtin_trap();
    return 0;
}
