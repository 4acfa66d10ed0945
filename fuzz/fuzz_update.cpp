// Converts an old single-file configuration ("scanner.schm") from any content,
// in a directory of its own that is emptied after every run.
#include "gb_json.h"
#include "temp_dir.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

const veltest::TempDir& scratch()
{
    static const veltest::TempDir dir;
    return dir;
}

void emptyScratch()
{
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(scratch().path(), ec))
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

bool writeFile(const std::string& path, const uint8_t* data, size_t size)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f)
        return false;
    const bool ok = std::fwrite(data, 1, size, f) == size;
    return std::fclose(f) == 0 && ok;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string file = scratch().file("scanner.schm");
    if (!writeFile(file, data, size))
        return 0;
    gb::scanner_cfg::_update_func func = {transNumber, titleToName, nullptr};
    gb::scanner_cfg::update(file.c_str(), &func);
    emptyScratch();
    return 0;
}
