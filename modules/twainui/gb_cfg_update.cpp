// Conversion of the single configuration file of older releases into one
// file per device, and the model names of old device titles.
#include "gb_json.h"
#include "gb_json_p.h"

#include <ZyBase.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include <strings.h>
#include <unordered_set>
#include <utility>
#include <vector>

namespace gb {

using detail::kBadText;

namespace {

struct brand
{
    const char* word;
    const char* prefix;
    std::string (*model)(const char* pid);
};

// Old titles start with the brand's Chinese name; the product id follows
// the words for "scanner", an em dash and "G".
constexpr char kMakerWord[] = "中晶";
constexpr char kKorrinWord[] = "科林";
constexpr char kVelmarWord[] = "威马";
constexpr char kPidMarker[] = "扫描仪—G";
static_assert(sizeof(kPidMarker) - 1 == 13, "the marker is 13 bytes of UTF-8");

const brand kBrands[] = {
    {kMakerWord, "ZYTRASCAN ", updater::zy_model_from_pid},
    {kKorrinWord, "Korrin ", updater::kr_model_from_pid},
    {kVelmarWord, "VELMARSCAN ", updater::vel_model_from_pid},
};

std::string device_name_from_title(const std::string& title)
{
    if (title.empty() || static_cast<unsigned char>(title[0]) < 0x80)
        return title;
    for (const brand& b : kBrands) {
        if (title.compare(0, strlen(b.word), b.word) != 0)
            continue;
        const size_t marker = title.find(kPidMarker);
        if (marker == std::string::npos)
            break;
        return b.prefix + b.model(title.c_str() + marker + strlen(kPidMarker));
    }
    return title;
}

// Titles come from a file: never let one point outside the directory.
std::string safe_file_name(const std::string& name)
{
    char buf[512];
    if (ZyBase_StandardiseFileName(name.c_str(), buf, sizeof(buf)) != 0)
        return std::string();
    return buf;
}

// One option record of an old scheme: "name", "value" and an optional file
// named by "extra" whose content becomes the option's supplementary data.
void convert_option(const std::string& record, sane_config_schm& schm,
                    scanner_cfg::_update_func& func)
{
    ref_ptr<json> opt(new json(record.c_str()));
    std::string title;
    if (!opt->get_value("name", title))
        return;
    const char* name = func.title_2_name ? func.title_2_name(title.c_str(), func.param) : nullptr;
    if (!name || !*name)
        return;
    const std::string option(name); // the callback's buffer may not survive the next call
    std::string value;
    if (opt->get_value_as_string("value", value, true)) {
        if (func.trans_number)
            func.trans_number(option.c_str(), value, func.param);
        schm.set_value(option.c_str(), value.data(), value.size(), false);
    }
    std::string extra;
    std::string content;
    if (opt->get_value("extra", extra) && load_mini_file(extra.c_str(), content) == 0)
        schm.set_value(option.c_str(), content.data(), content.size(), true);
}

// One old device record: a list whose first element holds "cur_sel" and whose
// further elements are schemes. Elements may be nested JSON or JSON text
// inside strings: their text is parsed again either way.
int convert_device(const std::string& record, scanner_cfg& cfg, scanner_cfg::_update_func& func)
{
    ref_ptr<json> list(new json(record.c_str()));
    std::string element;
    if (!list->first_child(element))
        return kBadText;
    ref_ptr<json> head(new json(element.c_str()));
    int cur_sel = -1;
    if (!head->get_value("cur_sel", cur_sel))
        return kBadText;

    std::vector<std::string> names;
    std::vector<std::string> options;
    while (list->next_child(element)) {
        ref_ptr<json> scheme(new json);
        if (!scheme->attach_text(element.c_str()))
            return kBadText;
        std::string name;
        if (!scheme->get_value("scheme", name) || !scheme->get_as_array("opts", options))
            break;
        ref_ptr<sane_config_schm> schm(new sane_config_schm);
        for (const std::string& option : options)
            convert_option(option, *schm, func);
        cfg.add_scheme(schm.get(), name.c_str());
        names.push_back(std::move(name));
    }
    if (cur_sel >= 0 && size_t(cur_sel) < names.size())
        cfg.select_scheme(names[size_t(cur_sel)].c_str());
    return 0;
}

std::string directory_of(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

} // namespace

int scanner_cfg::update(const char* file, _update_func* func)
{
    if (!file || !func)
        return EINVAL;
    std::string text;
    const int loaded = load_mini_file(file, text);
    if (loaded != 0)
        return loaded;
    const std::string plain = base64().decode(text.data(), text.size());
    ref_ptr<json> old(new json(plain.c_str()));
    if (!old->is_object())
        return kBadText;

    std::vector<std::pair<std::string, ref_ptr<scanner_cfg>>> devices;
    std::string record;
    std::string title;
    for (bool more = old->first_child(record, &title); more; more = old->next_child(record, &title)) {
        ref_ptr<scanner_cfg> cfg(new scanner_cfg);
        const int err = convert_device(record, *cfg, *func);
        if (err != 0)
            return err;
        devices.emplace_back(safe_file_name(device_name_from_title(title)), std::move(cfg));
    }

    // Titles that differ may standardise to one name: later devices get a
    // numbered name of their own instead of overwriting the first.
    const std::string dir = directory_of(file);
    std::unordered_set<std::string> taken;
    for (auto& [name, cfg] : devices) {
        std::string unique = name;
        for (int n = 2; !taken.insert(unique).second; ++n)
            unique = name + "_" + std::to_string(n);
        const int err = cfg->save((dir + unique + ".cfg").c_str());
        if (err != 0)
            return err;
    }
    const std::string backup = std::string(file) + "_bk";
    return rename(file, backup.c_str()) == 0 ? 0 : errno;
}

} // namespace gb

namespace {

struct model_row
{
    const char* pid;
    const char* model;
};

template <size_t N>
std::string model_from_pid(const char* pid, const model_row (&rows)[N], const char* series)
{
    const std::string id = pid ? pid : "";
    for (const model_row& row : rows) {
        if (id == row.pid)
            return row.model;
    }
    std::string name(series);
    if (!id.empty())
        name += id[0];
    return name.append(" - ").append(id);
}

const model_row kZyModels[] = {{"7203", "G72S"}};
const model_row kKrModels[] = {{"6105", "K61D"}};
const model_row kVelModels[] = {
    {"8110", "V81D"}, {"8120", "V81S"}, {"8210", "V82D"}, {"8220", "V82S"}, {"9100", "V91"},
};

} // namespace

namespace updater {

std::string zy_model_from_pid(const char* pid)
{
    return model_from_pid(pid, kZyModels, "G");
}

std::string kr_model_from_pid(const char* pid)
{
    return model_from_pid(pid, kKrModels, "K");
}

std::string vel_model_from_pid(const char* pid)
{
    return model_from_pid(pid, kVelModels, "V");
}

std::string converted_device_name(const char* vendor, const char* pid)
{
    if (!vendor)
        return std::string();
    for (const gb::brand& b : gb::kBrands) {
        // The prefix is the vendor's word and a blank.
        const size_t word = strlen(b.prefix) - 1;
        if (strlen(vendor) == word && strncasecmp(vendor, b.prefix, word) == 0)
            return b.prefix + b.model(pid);
    }
    return std::string();
}

} // namespace updater
