// Converts an old single-file configuration ("scanner.schm") from any content,
// in a directory of its own that is emptied after every run.
#include "gb_json.h"
#include "temp_dir.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

void emptyScratch()
{
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(veltest::processTempDir().path(), ec))
        fs::remove_all(entry.path(), ec);
}

// Old values were decimal text; keep the text as the value bytes.
void transNumber(const char*, std::string&, void*) {}

const char* titleToName(const char* title, void*)
{
    static std::string name;
    name = std::string("opt-") + title;
    return name.c_str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string file = veltest::processTempDir().file("scanner.schm");
    veltest::writeFile(file, std::string(reinterpret_cast<const char*>(data), size));
    gb::scanner_cfg::_update_func func = {transNumber, titleToName, nullptr};
    gb::scanner_cfg::update(file.c_str(), &func);
    emptyScratch();
    return 0;
}
