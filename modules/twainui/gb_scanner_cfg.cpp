#include "gb_json.h"
#include "gb_json_p.h"

#include <ZyBase.h>
#include <velbase_files.h>

#include <QCoreApplication>
#include <QString>

#include <cerrno>
#include <cstring>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace gb {

using detail::kBadText;
using detail::version_text;

namespace {

// Configuration files are a few kilobytes; the cap keeps a wrong path (a device
// node, a huge file) from making us allocate without bound.
constexpr size_t kMaxMiniFile = 64 * 1024 * 1024;

// A name the scheme panel can show and the user can pick again: no control
// characters (a NUL among them), C1 controls in UTF-8 included.
bool is_scheme_name(const std::string& name)
{
    for (size_t i = 0; i < name.size(); ++i) {
        const auto c = static_cast<unsigned char>(name[i]);
        const bool c1 = c == 0xC2 && i + 1 < name.size()
            && static_cast<unsigned char>(name[i + 1]) >= 0x80
            && static_cast<unsigned char>(name[i + 1]) <= 0x9F;
        if (c < 0x20 || c == 0x7F || c1)
            return false;
    }
    return !name.empty();
}

std::string scheme_text(sane_config_schm* schm)
{
    const std::string text = schm->to_text_stream(false, false);
    return text.empty() ? std::string("{}") : text;
}

} // namespace

scanner_cfg::scanner_cfg() : global_(new json), default_schm_(new sane_config_schm)
{
    default_schm_->set_scheme_name(default_setting_name_);
    init_version();
    init_select();
}

scanner_cfg::~scanner_cfg() = default;

int scanner_cfg::load_file(const char* file)
{
    if (!file)
        return 0;
    const std::string path(file);
    const size_t slash = path.rfind('/');
    // Set before loading, so that a copy of broken text lands beside the file.
    if (slash != std::string::npos)
        path_ = path.substr(0, slash + 1);

    std::string text;
    if (load_mini_file(file, text) == 0)
        load_mem(text.c_str(), true);

    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos)
        name.erase(dot);
    scanner_name_ = name;
    return 0;
}

int scanner_cfg::load_mem(const char* mem, bool in_base64)
{
    std::string plain = mem ? mem : "";
    if (in_base64)
        plain = base64().decode(plain.data(), plain.size());
    ref_ptr<json> doc(new json(plain.c_str()));
    if (!doc->is_object()) {
        const std::string err = path_ + "err_cfg.txt";
        ZyBase_WriteFileAtomic(err.c_str(), plain.data(), plain.size());
        return kBadText;
    }
    clear();
    walk_sibling_schemes(*doc);
    return 0;
}

void scanner_cfg::walk_sibling_schemes(json& doc)
{
    ref_ptr<sane_config_schm> found_default;
    std::unordered_set<std::string> listed;
    std::string text;
    std::string key;
    for (bool more = doc.first_child(text, &key); more; more = doc.next_child(text, &key)) {
        if (key == global_name_) {
            if (text[0] == '{')
                global_->attach_text(text.c_str());
            continue;
        }
        const std::string name = sane_config_schm::from_hex_letter(key.data(), key.size());
        const bool is_default = name == default_setting_name_;
        // Names stay unique and showable, as add_scheme keeps them.
        if (!is_scheme_name(name) || (is_default ? found_default != nullptr : listed.count(name) > 0))
            continue;
        ref_ptr<sane_config_schm> schm(new sane_config_schm);
        if (!schm->load_from_mem(text.c_str(), false))
            continue;
        schm->set_scheme_name(name.c_str());
        if (is_default) {
            found_default = std::move(schm);
        } else {
            listed.insert(name);
            schemes_.push_back({name, std::move(schm)});
        }
    }
    default_schm_ = found_default ? std::move(found_default)
                                  : ref_ptr<sane_config_schm>(new sane_config_schm);
    default_schm_->set_scheme_name(default_setting_name_);
}

std::string scanner_cfg::to_text(bool b64)
{
    std::string ver;
    if (!global_->get_value("ver", ver) || ver.empty())
        init_version();
    int cur = -1;
    if (!global_->get_value(cur_sel_, cur) || static_cast<unsigned int>(cur) >= schemes_.size())
        init_select();

    std::string text;
    text.append("{\"").append(global_name_).append("\":").append(global_->to_string(false));
    for (const _cfg_schm& entry : schemes_) {
        text.append(",\"")
            .append(sane_config_schm::to_hex_letter(entry.name.data(), entry.name.size()))
            .append("\":")
            .append(scheme_text(entry.schm.get()));
    }
    text.append(",\"")
        .append(sane_config_schm::to_hex_letter(default_setting_name_, strlen(default_setting_name_)))
        .append("\":")
        .append(scheme_text(default_schm_.get()))
        .append("}");
    return b64 ? base64().encode(text.data(), text.size()) : text;
}

int scanner_cfg::save(const char* file)
{
    if (!file && scanner_name_.empty())
        return 0;
    const std::string target = file ? std::string(file) : path_ + scanner_name_ + ".cfg";
    const std::string text = to_text(true);
    return ZyBase_WriteFileAtomic(target.c_str(), text.data(), text.size());
}

void scanner_cfg::clear()
{
    global_->create_empty(false);
    global_->set_value("ver", "");
    init_select();
    schemes_.clear();
    scanner_name_.clear();
}

void scanner_cfg::init_version()
{
    global_->set_value("ver", version_text());
}

void scanner_cfg::init_select()
{
    global_->set_value(cur_sel_, -1);
}

int scanner_cfg::current_index() const
{
    int cur = -1;
    global_->get_value(cur_sel_, cur);
    return cur >= 0 && size_t(cur) < schemes_.size() ? cur : -1;
}

int scanner_cfg::index_of(const char* name) const
{
    if (!name)
        return -1;
    for (size_t i = 0; i < schemes_.size(); ++i) {
        if (schemes_[i].name == name)
            return int(i);
    }
    return -1;
}

std::string scanner_cfg::get_current_scheme_name() const
{
    const int cur = current_index();
    return cur >= 0 ? schemes_[size_t(cur)].name : std::string(default_setting_name_);
}

sane_config_schm* scanner_cfg::get_scheme(const char* scheme_name)
{
    sane_config_schm* found = nullptr;
    if (!scheme_name || !*scheme_name) {
        const int cur = current_index();
        found = cur >= 0 ? schemes_[size_t(cur)].schm.get() : default_schm_.get();
    } else if (strcmp(scheme_name, default_setting_name_) == 0) {
        found = default_schm_.get();
    } else {
        const int index = index_of(scheme_name);
        found = index >= 0 ? schemes_[size_t(index)].schm.get() : nullptr;
    }
    return share(found).release();
}

void scanner_cfg::get_all_schemes(std::vector<std::string>& schemes) const
{
    schemes.push_back(
        QCoreApplication::translate("scanner_cfg", "default_setting").toUtf8().toStdString());
    for (const _cfg_schm& entry : schemes_)
        schemes.push_back(entry.name);
}

bool scanner_cfg::add_scheme(sane_config_schm* schm, const char* name)
{
    if (!schm)
        return false;
    const std::string key = name && *name ? std::string(name) : schm->get_scheme_name();
    // The default scheme's name is refused too: the file keys it separately.
    if (!is_scheme_name(key) || key == global_name_ || key == default_setting_name_
        || index_of(key.c_str()) >= 0)
        return false;
    schemes_.push_back({key, share(schm)});
    schm->set_scheme_name(key.c_str());
    return true;
}

bool scanner_cfg::remove_scheme(const char* name)
{
    const int index = index_of(name);
    if (index < 0)
        return false;
    int cur = -1;
    global_->get_value(cur_sel_, cur);
    schemes_.erase(schemes_.begin() + index);
    if (cur == index)
        init_select();
    else if (cur > index)
        global_->set_value(cur_sel_, cur - 1);
    return true;
}

void scanner_cfg::remove_all_schemes()
{
    schemes_.clear();
    default_schm_->remove_config(nullptr);
}

bool scanner_cfg::select_scheme(const char* scheme_name)
{
    global_->set_value(cur_sel_, index_of(scheme_name));
    return true;
}

sane_config_schm* scanner_cfg::copy_scheme(const char* cp_from_name)
{
    if (!cp_from_name)
        return nullptr;
    sane_config_schm* source = nullptr;
    if (strcmp(cp_from_name, default_setting_name_) == 0) {
        source = default_schm_.get();
    } else {
        const int index = index_of(cp_from_name);
        if (index < 0)
            return nullptr;
        source = schemes_[size_t(index)].schm.get();
    }
    auto* dup = new sane_config_schm;
    dup->load_from_mem(source->to_text_stream(true, true).c_str(), true);
    return dup;
}

bool scanner_cfg::rename_scheme(const char* from, const char* to)
{
    if (!to || !is_scheme_name(to) || strcmp(to, global_name_) == 0
        || strcmp(to, default_setting_name_) == 0 || index_of(to) >= 0)
        return false;
    const int index = index_of(from);
    if (index < 0)
        return false;
    schemes_[size_t(index)].name = to;
    schemes_[size_t(index)].schm->set_scheme_name(to);
    return true;
}

std::string scanner_cfg::user_default_scheme_name()
{
    return default_setting_name_;
}

int load_mini_file(const char* file, std::string& cont)
{
    if (!file || !*file)
        return EINVAL;
    return velbase::readSmallFile(file, kMaxMiniFile, cont);
}

} // namespace gb
