#include "gb_json.h"
#include "gb_json_p.h"

#include <ZyBase.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <unordered_set>
#include <utility>

namespace gb::detail {

namespace {

constexpr unsigned int kVersionMajor = 4;
constexpr unsigned int kVersionMinor = 52;

} // namespace

std::string version_text()
{
    char buf[32];
    snprintf(buf, sizeof(buf), "%u.%u", kVersionMajor, kVersionMinor);
    return buf;
}

} // namespace gb::detail

namespace gb {

using detail::version_text;

namespace {

constexpr char kDataSuffix[] = "_data";

std::map<std::string, std::string> members_of(json* doc)
{
    std::map<std::string, std::string> members;
    std::string value;
    std::string name;
    for (bool more = doc && doc->first_child(value, &name); more;
         more = doc->next_child(value, &name))
        members[name] = value;
    return members;
}

// Same members with the same texts, in any order.
bool same_members(json* left, json* right)
{
    std::map<std::string, std::string> pending = members_of(right);
    std::string value;
    std::string name;
    for (bool more = left && left->first_child(value, &name); more;
         more = left->next_child(value, &name)) {
        const auto it = pending.find(name);
        if (it == pending.end() || it->second != value)
            return false;
        pending.erase(it);
    }
    return pending.empty();
}

// Parses a scheme's values, keeping the members a scheme can address by option
// name: a key without "/" (a path separator), each key once (the first member is
// the one lookups find, so later repeats would only resurface once it is
// removed). The keys of dropped members are appended to dropped, one per line.
// Null when the text is not an object.
cJSON* addressable_values(const char* text, std::string* dropped)
{
    cJSON* root = cJSON_Parse(text);
    if (!cJSON_IsObject(root)) {
        cJSON_Delete(root);
        return nullptr;
    }
    std::unordered_set<std::string> seen;
    for (cJSON* item = root->child; item;) {
        cJSON* const next = item->next;
        const std::string key = item->string ? item->string : "";
        if (key.empty() || key.find('/') != std::string::npos || !seen.insert(key).second) {
            if (dropped)
                dropped->append(key).append("\r\n");
            cJSON_Delete(cJSON_DetachItemViaPointer(root, item));
        }
        item = next;
    }
    return root;
}

// Leading integer of a version text, 0 when there is none.
int version_part(const std::string& text, size_t from)
{
    const long value = strtol(text.c_str() + from, nullptr, 10);
    return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : int(value);
}

} // namespace

sane_config_schm::sane_config_schm(scanner_cfg* scanner)
    : scanner_(share(scanner)), jsn_(new json("{}")), def_val_(new json)
{
}

sane_config_schm::~sane_config_schm() = default;

void sane_config_schm::clear()
{
    jsn_.reset();
    bkp_.reset();
}

json* sane_config_schm::values()
{
    if (!jsn_)
        jsn_.reset(new json("{}"));
    return jsn_.get();
}

std::string sane_config_schm::get_scheme_name() const
{
    return scheme_name_;
}

void sane_config_schm::set_scheme_name(const char* name)
{
    scheme_name_ = name ? name : "";
}

std::string sane_config_schm::get_version() const
{
    std::string ver;
    if (jsn_)
        jsn_->get_value("ver", ver);
    return ver;
}

sane_config_schm* sane_config_schm::copy() const
{
    auto* dup = new sane_config_schm(scanner_.get());
    dup->scheme_name_ = scheme_name_;
    dup->file_ = file_;
    if (jsn_) {
        dup->jsn_->attach_text(jsn_->to_string(false).c_str());
    } else {
        dup->jsn_.reset();
    }
    dup->def_val_->attach_text(def_val_->to_string(false).c_str());
    dup->id_name_ = id_name_;
    return dup;
}

void sane_config_schm::copy_default_value(const sane_config_schm* from)
{
    if (!from)
        return;
    id_name_ = from->id_name_;
    def_val_->attach_text(from->def_val_->to_string(false).c_str());
}

bool sane_config_schm::is_equal(const sane_config_schm* other) const
{
    return other && same_members(jsn_.get(), other->jsn_.get());
}

bool sane_config_schm::load_from_mem(const char* text, bool in_base64)
{
    const char* source = text ? text : "";
    std::string plain;
    if (in_base64) {
        plain = base64().decode(source, strlen(source));
        source = plain.c_str();
    }
    clear();
    return attach_values(source, nullptr);
}

bool sane_config_schm::attach_values(const char* text, std::string* dropped)
{
    cJSON* root = addressable_values(text, dropped);
    ref_ptr<json> doc(new json);
    const bool attached = root && doc->attach_cjson(root);
    cJSON_Delete(root);
    if (!attached)
        return false;
    jsn_ = std::move(doc);
    return true;
}

bool sane_config_schm::load_from_file(const char* path)
{
    clear();
    file_ = path ? path : "";
    std::string text;
    return load_mini_file(path, text) == 0 && load_from_mem(text.c_str(), true);
}

std::string sane_config_schm::to_text_stream(bool b64, bool with_ver)
{
    if (!jsn_)
        return std::string();
    if (with_ver)
        jsn_->set_value("ver", version_text());
    const std::string text = jsn_->to_string(false);
    return b64 ? base64().encode(text.data(), text.size()) : text;
}

bool sane_config_schm::save_to(const char* path)
{
    const std::string target = path && *path ? std::string(path) : file_;
    const std::string text = to_text_stream(true, true);
    if (text.empty() || target.empty())
        return false;
    return ZyBase_WriteFileAtomic(target.c_str(), text.data(), text.size()) == 0;
}

void sane_config_schm::set_default_value(int sn, const char* name, const char* data, size_t bytes)
{
    if (!name)
        return;
    id_name_[sn] = name;
    def_val_->set_value(name, to_hex_letter(data, bytes));
}

int sane_config_schm::id_from_name(const char* name) const
{
    if (!name)
        return -1;
    for (const auto& [sn, option] : id_name_) {
        if (option == name)
            return sn;
    }
    return -1;
}

std::string sane_config_schm::default_value(const char* name) const
{
    std::string text;
    def_val_->get_value(name, text);
    return text;
}

void sane_config_schm::config_changed(const char* name, const char* data, size_t bytes, bool extra)
{
    if (!name)
        return;
    const std::string text = to_hex_letter(data, bytes);
    const std::string data_name = std::string(name) + kDataSuffix;
    if (extra) {
        values()->set_value(data_name.c_str(), text);
    } else if (text == default_value(name)) {
        // change_key may have repeated a name: none of its members may stay.
        while (jsn_ && jsn_->remove(name)) {
        }
        while (jsn_ && jsn_->remove(data_name.c_str())) {
        }
    } else {
        values()->set_value(name, text);
    }
}

void sane_config_schm::config_changed(int sn, const char* data, size_t bytes, bool extra)
{
    const auto it = id_name_.find(sn);
    if (it != id_name_.end())
        config_changed(it->second.c_str(), data, bytes, extra);
}

void sane_config_schm::set_value(const char* name, const char* data, size_t bytes, bool extra)
{
    if (!name)
        return;
    const std::string key = extra ? std::string(name) + kDataSuffix : std::string(name);
    values()->set_value(key.c_str(), to_hex_letter(data, bytes));
}

void sane_config_schm::remove_config(const char* name)
{
    if (!name)
        values()->create_empty(false);
    else if (jsn_)
        jsn_->remove(name);
}

bool sane_config_schm::get_config(const char* name, std::string& value) const
{
    std::string text;
    if (!(jsn_ && jsn_->get_value(name, text)) && !def_val_->get_value(name, text))
        return false;
    value = from_hex_letter(text.data(), text.size());
    return true;
}

bool sane_config_schm::walk_config(bool first, std::string& name, std::string& value)
{
    if (!jsn_)
        return false;
    std::string text;
    const bool found = first ? jsn_->first_child(text, &name) : jsn_->next_child(text, &name);
    if (found)
        value = from_hex_letter(text.data(), text.size());
    return found;
}

bool sane_config_schm::first_config(std::string& name, std::string& value)
{
    return walk_config(true, name, value);
}

bool sane_config_schm::next_config(std::string& name, std::string& value)
{
    return walk_config(false, name, value);
}

void sane_config_schm::begin_setting(bool restore)
{
    bkp_ = jsn_ ? std::move(jsn_) : ref_ptr<json>(new json("{}"));
    jsn_.reset(new json);
    if (restore)
        jsn_->create_empty(false);
    else
        jsn_->attach_text(bkp_->to_string(false).c_str());
    in_setting_ = true;
}

void sane_config_schm::end_setting(bool cancel)
{
    if (!in_setting_)
        return;
    // A load during the session dropped the backup: the loaded values stay.
    if (cancel && bkp_)
        jsn_ = std::move(bkp_);
    bkp_.reset();
    in_setting_ = false;
}

bool sane_config_schm::has_changed(int* items) const
{
    if (items)
        *items = jsn_ ? jsn_->count() : 0;
    if (!in_setting_ || !bkp_)
        return false;
    return !same_members(jsn_.get(), bkp_.get());
}

// Before 4.30 the keys were hex text of option titles; since then they are
// option names. Values without any version may also hold options the device
// no longer has.
void sane_config_schm::update(bool (*discard)(int sn, void* param), void* param,
                              const char* (*title_to_name)(const char* title),
                              std::string* discarded)
{
    if (!jsn_)
        return;
    const std::string ver = get_version();
    const size_t dot = ver.find('.');
    const bool titles = version_part(ver, 0) <= 4
        && (dot == std::string::npos || version_part(ver, dot + 1) <= 29);
    bool changed = false;
    std::string value;
    std::string key;

    if (titles) {
        for (bool more = jsn_->first_child(value, &key); more; more = jsn_->next_child(value, &key)) {
            const std::string title = from_hex_letter(key.data(), key.size());
            if (title_to_name)
                jsn_->change_key(key.c_str(), title_to_name(title.c_str()));
        }
        // Two titles may give one name, or a title no usable name.
        attach_values(jsn_->to_string(false).c_str(), discarded);
        changed = true;
    }

    if (ver.empty()) {
        for (bool more = jsn_->first_child(value, &key); more; more = jsn_->next_child(value, &key)) {
            const int sn = id_from_name(key.c_str());
            if (sn != -1 && !(discard && discard(sn, param)))
                continue;
            if (!jsn_->remove(key.c_str()))
                continue;
            changed = true;
            if (discarded)
                discarded->append(key).append("\r\n");
        }
    }

    jsn_->set_value("ver", version_text());
    if (changed)
        save_to(nullptr);
}

bool sane_config_schm::is_option_data(std::string& name)
{
    const size_t pos = name.find(kDataSuffix);
    if (pos == std::string::npos || pos + strlen(kDataSuffix) != name.size())
        return false;
    name.erase(pos);
    return true;
}

std::string sane_config_schm::to_hex_letter(const char* data, size_t bytes)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    if (!data)
        return text;
    text.reserve(bytes * 2);
    for (size_t i = 0; i < bytes; ++i) {
        const unsigned char byte = static_cast<unsigned char>(data[i]);
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

std::string sane_config_schm::from_hex_letter(const char* text, size_t bytes)
{
    std::string data;
    if (!text)
        return data;
    data.reserve(bytes / 2);
    for (size_t i = 0; i + 1 < bytes; i += 2) {
        unsigned char byte = 0;
        if (!hex_char(text + i, &byte))
            break;
        data += static_cast<char>(byte);
    }
    return data;
}

bool sane_config_schm::hex(unsigned char ch, unsigned char* nibble)
{
    unsigned char value = 0;
    if (ch >= '0' && ch <= '9')
        value = ch - '0';
    else if (ch >= 'a' && ch <= 'f')
        value = ch - 'a' + 10;
    else if (ch >= 'A' && ch <= 'F')
        value = ch - 'A' + 10;
    else
        return false;
    if (nibble)
        *nibble = (*nibble & 0xF0) | value;
    return true;
}

bool sane_config_schm::hex_char(const char* two, unsigned char* byte)
{
    unsigned char high = 0;
    unsigned char low = 0;
    if (!two || !hex(two[0], &high) || !hex(two[1], &low))
        return false;
    if (byte)
        *byte = static_cast<unsigned char>(high << 4 | low);
    return true;
}

} // namespace gb
