// Parses any text as a document, then walks, looks up, removes and prints it.
#include "gb_json.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::vector<char> text(data, data + size);
    text.push_back('\0');

    gb::json* doc = new gb::json();
    if (doc->attach_text(text.data())) {
        std::string value;
        std::string name;
        std::string lookup;
        int n = 0;
        for (bool more = doc->first_child(value, &name); more;
             more = doc->next_child(value, &name)) {
            // Member names are untrusted paths, separators and all.
            doc->get_value_as_string(name.c_str(), lookup, (n & 1) != 0);
            if (++n % 3 == 0)
                doc->remove(name.c_str());
        }
        const std::string flat = doc->to_string(false);
        doc->to_string(true);
        // What the document prints must parse again.
        if (!flat.empty()) {
            std::vector<char> again(flat.begin(), flat.end());
            again.push_back('\0');
            gb::json* copy = new gb::json(again.data());
            if (copy->count() != doc->count())
                __builtin_trap();
            copy->release();
        }
    }
    doc->release();
    return 0;
}
