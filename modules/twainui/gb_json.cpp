#include "gb_json.h"

#include <ZyBase.h>

#include <QCoreApplication>
#include <QString>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unordered_set>
#include <utility>

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Configuration operations report unparsable text with this number.
constexpr int kBadText = EINVAL;
static_assert(kBadText == 22, "unparsable text is reported as 22");

constexpr unsigned int kVersionMajor = 4;
constexpr unsigned int kVersionMinor = 52;

// Configuration keys are one or two levels deep; refusing deep paths keeps
// every tree we build printable and parseable again.
constexpr size_t kMaxPathDepth = 64;

// Configuration files are a few kilobytes; the cap keeps a wrong path (a device
// node, a huge file) from making us allocate without bound.
constexpr off_t kMaxMiniFile = 64 * 1024 * 1024;

constexpr char kDefaultAlphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kDataSuffix[] = "_data";

struct releaser
{
    void operator()(gb::refer* obj) const { obj->release(); }
};
template <class T>
using ref_ptr = std::unique_ptr<T, releaser>;

std::string version_text()
{
    char buf[32];
    snprintf(buf, sizeof(buf), "%u.%u", kVersionMajor, kVersionMinor);
    return buf;
}

char* dup_text(const char* text)
{
    const size_t bytes = strlen(text) + 1;
    char* copy = static_cast<char*>(cJSON_malloc(bytes));
    if (copy)
        memcpy(copy, text, bytes);
    return copy;
}

void set_type(cJSON* node, int type)
{
    node->type = (node->type & cJSON_StringIsConst) | type;
}

void set_key(cJSON* node, char* key)
{
    if (node->string && !(node->type & cJSON_StringIsConst))
        cJSON_free(node->string);
    node->string = key;
    node->type &= ~cJSON_StringIsConst;
}

std::string printed(const cJSON* node, bool formatted)
{
    char* text = formatted ? cJSON_Print(node) : cJSON_PrintUnformatted(node);
    std::string result(text ? text : "");
    cJSON_free(text);
    return result;
}

std::string number_text(const cJSON* node, bool integer)
{
    char buf[40];
    if (integer)
        snprintf(buf, sizeof(buf), "%d", node->valueint);
    else
        snprintf(buf, sizeof(buf), "%f", node->valuedouble);
    return buf;
}

std::string node_text(const cJSON* node, bool integer)
{
    switch (node->type & 0xFF) {
    case cJSON_False:
        return "false";
    case cJSON_True:
        return "true";
    case cJSON_NULL:
        return "null";
    case cJSON_Number:
        return number_text(node, integer);
    case cJSON_String:
        return node->valuestring ? node->valuestring : "";
    case cJSON_Array:
    case cJSON_Object:
        return printed(node, false);
    default:
        return std::string();
    }
}

// "/" ends a segment and swallows the character after it: "a/xb" is a, b.
std::vector<std::string> split_path(const char* key)
{
    std::vector<std::string> segments;
    if (!key)
        return segments;
    const char* start = key;
    const char* pos = key;
    while (*pos) {
        if (*pos != '/') {
            ++pos;
            continue;
        }
        if (pos > start)
            segments.emplace_back(start, pos);
        ++pos;
        if (*pos)
            ++pos;
        start = pos;
    }
    if (pos > start)
        segments.emplace_back(start, pos);
    return segments;
}

bool is_container(const cJSON* node)
{
    return cJSON_IsObject(node) || cJSON_IsArray(node);
}

cJSON* resolve(cJSON* root, const std::vector<std::string>& segments, bool create,
               cJSON*** link, cJSON** parent)
{
    cJSON* owner = root;
    cJSON** at = nullptr;
    cJSON* node = nullptr;
    for (size_t i = 0; i < segments.size(); ++i) {
        if (i > 0)
            owner = node;
        if (!is_container(owner))
            return nullptr;
        at = &owner->child;
        node = gb::json::find_sibling(owner->child, segments[i].c_str(), &at);
        if (node)
            continue;
        if (!create)
            return nullptr;
        node = gb::json::create_element_with_name(segments[i].c_str());
        if (!node)
            return nullptr;
        cJSON_AddItemToArray(owner, node);
        at = node == owner->child ? &owner->child : &node->prev->next;
    }
    if (link)
        *link = at;
    if (parent)
        *parent = owner;
    return node;
}

class fd_guard
{
public:
    explicit fd_guard(int fd) : fd_(fd) {}
    ~fd_guard()
    {
        if (fd_ >= 0)
            close(fd_);
    }
    fd_guard(const fd_guard&) = delete;
    fd_guard& operator=(const fd_guard&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

std::string directory_of(const std::string& path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

} // namespace

namespace gb {

// ---- refer ------------------------------------------------------------------

refer::~refer() = default;

int64_t refer::add_ref()
{
    return ++ref_;
}

int64_t refer::release()
{
    const int64_t left = --ref_;
    if (left == 0)
        delete this;
    return left;
}

// ---- json -------------------------------------------------------------------

json::json(const char* text)
{
    attach_text(text);
}

json::~json()
{
    clear();
}

bool json::attach_text(const char* text)
{
    clear();
    if (!text)
        return false;
    obj_ = cJSON_Parse(text);
    if (!obj_)
        return false;
    is_array_ = cJSON_IsArray(obj_);
    return true;
}

bool json::attach_cjson(const cJSON* node)
{
    // Print before clearing: node may live in our own tree.
    const std::string text = node ? printed(node, false) : std::string();
    clear();
    return node && attach_text(text.c_str());
}

bool json::create_empty(bool array)
{
    clear();
    obj_ = create_element(array);
    is_array_ = array;
    return true;
}

void json::clear()
{
    cJSON_Delete(obj_);
    obj_ = nullptr;
    reset_walk();
}

void json::reset_walk()
{
    cur_child_ = nullptr;
    walk_head_.next = nullptr;
}

std::string json::to_string(bool formatted) const
{
    return obj_ ? printed(obj_, formatted) : std::string();
}

int json::count() const
{
    return obj_ ? cJSON_GetArraySize(obj_) : 0;
}

bool json::is_object() const
{
    return cJSON_IsObject(obj_);
}

cJSON* json::find(const char* key, bool create, cJSON*** link, cJSON** parent)
{
    const std::vector<std::string> segments = split_path(key);
    if (segments.empty() || segments.size() > kMaxPathDepth)
        return nullptr;
    if (!obj_) {
        if (!create)
            return nullptr;
        obj_ = create_element(false);
        is_array_ = false;
    }
    return resolve(obj_, segments, create, link, parent);
}

const cJSON* json::find(const char* key) const
{
    const std::vector<std::string> segments = split_path(key);
    if (!obj_ || segments.empty() || segments.size() > kMaxPathDepth)
        return nullptr;
    return resolve(obj_, segments, false, nullptr, nullptr);
}

bool json::get_value(const char* key, bool& val) const
{
    const cJSON* node = find(key);
    if (!cJSON_IsBool(node))
        return false;
    val = cJSON_IsTrue(node);
    return true;
}

bool json::get_value(const char* key, int& val) const
{
    const cJSON* node = find(key);
    if (!cJSON_IsNumber(node))
        return false;
    val = node->valueint;
    return true;
}

bool json::get_value(const char* key, double& val) const
{
    const cJSON* node = find(key);
    if (!cJSON_IsNumber(node))
        return false;
    val = node->valuedouble;
    return true;
}

bool json::get_value(const char* key, std::string& val) const
{
    const cJSON* node = find(key);
    if (!cJSON_IsString(node))
        return false;
    val = node->valuestring ? node->valuestring : "";
    return true;
}

bool json::get_value(const char* key, json*& val) const
{
    const cJSON* node = find(key);
    if (!node)
        return false;
    val = new json;
    val->attach_cjson(node);
    return true;
}

bool json::get_value_as_string(const char* key, std::string& val, bool integer) const
{
    const cJSON* node = find(key);
    if (!node)
        return false;
    val = node_text(node, integer);
    return true;
}

bool json::get_as_array(const char* key, std::vector<std::string>& val) const
{
    val.clear();
    const cJSON* node = find(key);
    if (!cJSON_IsArray(node))
        return false;
    for (const cJSON* item = node->child; item; item = item->next) {
        if (cJSON_IsNumber(item))
            val.push_back(number_text(item, true));
        else if (cJSON_IsString(item))
            val.emplace_back(item->valuestring ? item->valuestring : "");
        else
            val.push_back(printed(item, true));
    }
    return true;
}

cJSON* json::writable_node(const char* key)
{
    if (key) {
        cJSON* node = find(key, true, nullptr);
        if (node)
            free_node_data(node);
        return node;
    }
    if (!is_array_)
        return nullptr;
    if (!obj_)
        obj_ = create_element(true);
    cJSON* node = cJSON_CreateNull();
    if (node)
        cJSON_AddItemToArray(obj_, node);
    return node;
}

bool json::set_value(const char* key, bool val)
{
    cJSON* node = writable_node(key);
    if (!node)
        return false;
    set_type(node, val ? cJSON_True : cJSON_False);
    return true;
}

bool json::set_value(const char* key, int val)
{
    cJSON* node = writable_node(key);
    if (!node)
        return false;
    set_type(node, cJSON_Number);
    node->valueint = val;
    node->valuedouble = val;
    return true;
}

bool json::set_value(const char* key, double val)
{
    cJSON* node = writable_node(key);
    if (!node)
        return false;
    // The int part stays as it was; readers of the int see the old value.
    set_type(node, cJSON_Number);
    node->valuedouble = val;
    return true;
}

bool json::set_value(const char* key, const std::string& val)
{
    return set_value(key, val.c_str());
}

bool json::set_value(const char* key, const char* val)
{
    // Copy first: val may point into the node that is about to be freed.
    char* text = dup_text(val ? val : "");
    if (!text)
        return false;
    cJSON* node = writable_node(key);
    if (!node) {
        cJSON_free(text);
        return false;
    }
    set_type(node, cJSON_String);
    node->valuestring = text;
    return true;
}

bool json::set_value(const char* key, json* val)
{
    if (!val || val == this || !val->obj_)
        return false;
    if (!key) {
        if (!is_array_)
            return false;
        if (!obj_)
            obj_ = create_element(true);
        cJSON_AddItemToArray(obj_, val->obj_);
        val->obj_ = nullptr;
        val->reset_walk();
        return true;
    }

    char* name = dup_text(key);
    if (!name)
        return false;
    cJSON** link = nullptr;
    cJSON* parent = nullptr;
    cJSON* node = find(key, true, &link, &parent);
    if (!node) {
        cJSON_free(name);
        return false;
    }
    cJSON* moved = val->obj_;
    val->obj_ = nullptr;
    val->reset_walk();

    // cJSON_Delete frees the node and every member after it: keep the walk
    // away from freed members.
    for (const cJSON* gone = node; gone; gone = gone->next) {
        if (cur_child_ == gone)
            cur_child_ = moved;
        if (walk_head_.next == gone)
            walk_head_.next = moved;
    }
    const bool first = link == &parent->child;
    moved->prev = first ? moved : node->prev;
    moved->next = nullptr;
    *link = moved;
    parent->child->prev = moved; // cJSON keeps the tail in the head's prev
    cJSON_Delete(node);
    set_key(moved, name);
    return true;
}

bool json::report_child(std::string& value, std::string* name) const
{
    if (!cur_child_) {
        value.clear();
        return false;
    }
    value = node_text(cur_child_, false);
    if (name && cur_child_->string)
        *name = cur_child_->string;
    return true;
}

bool json::first_child(std::string& value, std::string* name)
{
    reset_walk();
    cur_child_ = obj_ ? obj_->child : nullptr;
    return report_child(value, name);
}

bool json::next_child(std::string& value, std::string* name)
{
    if (cur_child_)
        cur_child_ = cur_child_->next;
    return report_child(value, name);
}

bool json::remove(const char* key)
{
    cJSON** link = nullptr;
    cJSON* parent = nullptr;
    cJSON* node = find(key, false, &link, &parent);
    if (!node)
        return false;
    if (node == cur_child_) {
        if (link == &parent->child) {
            walk_head_.next = node->next;
            cur_child_ = &walk_head_;
        } else {
            cur_child_ = node->prev;
        }
    } else if (cur_child_ == &walk_head_ && walk_head_.next == node) {
        walk_head_.next = node->next;
    }
    cJSON_DetachItemViaPointer(parent, node);
    cJSON_Delete(node);
    return true;
}

bool json::change_key(const char* old_key, const char* new_key)
{
    if (!obj_ || !old_key || !*old_key || !new_key || !*new_key)
        return false;
    cJSON* node = find(old_key, false, nullptr);
    if (!node)
        return false;
    const size_t bytes = strlen(new_key) + 1;
    if (node->string && !(node->type & cJSON_StringIsConst) && strlen(node->string) + 1 >= bytes) {
        memmove(node->string, new_key, bytes);
        return true;
    }
    char* key = dup_text(new_key);
    if (!key)
        return false;
    set_key(node, key);
    return true;
}

cJSON* json::create_element(bool array)
{
    return array ? cJSON_CreateArray() : cJSON_CreateObject();
}

cJSON* json::create_element_with_name(const char* name)
{
    cJSON* node = cJSON_CreateObject();
    char* key = node ? dup_text(name) : nullptr;
    if (!key) {
        cJSON_Delete(node);
        return nullptr;
    }
    node->string = key;
    return node;
}

cJSON* json::find_sibling(cJSON* first, const char* name, cJSON*** prev)
{
    for (cJSON* item = first; item; item = item->next) {
        if (item->string && strcmp(item->string, name) == 0)
            return item;
        if (prev)
            *prev = &item->next;
    }
    return nullptr;
}

void json::free_node_data(cJSON* node)
{
    if (!(node->type & cJSON_IsReference)) {
        cJSON_Delete(node->child);
        if (node->valuestring)
            cJSON_free(node->valuestring);
    }
    node->child = nullptr;
    node->valuestring = nullptr;
    set_type(node, cJSON_NULL);
}

// ---- base64 -----------------------------------------------------------------

base64::base64()
{
    base64_str_[0] = '\0';
    initialize_base64_table(kDefaultAlphabet);
}

bool base64::set_base64_table(const char* table)
{
    return initialize_base64_table(table ? table : kDefaultAlphabet);
}

bool base64::is_valid_base64_table(const char* table)
{
    if (!table || strlen(table) < 64)
        return false;
    for (int i = 0; i < 64; ++i) {
        // The reverse table has 128 entries.
        if (static_cast<unsigned char>(table[i]) >= 128)
            return false;
    }
    for (int i = 0; i < 63; ++i) {
        if (strchr(table + i + 1, table[i]))
            return false;
    }
    return true;
}

bool base64::initialize_base64_table(const char* table)
{
    if (table && strlen(table) >= 64) {
        if (strncmp(table, base64_str_, 64) == 0)
            return true;
        if (!is_valid_base64_table(table))
            return false;
        memcpy(base64_str_, table, 64);
        base64_str_[64] = '\0';
    } else {
        if (strcmp(base64_str_, kDefaultAlphabet) == 0)
            return table == nullptr;
        memcpy(base64_str_, kDefaultAlphabet, sizeof(kDefaultAlphabet));
    }

    memset(base64_ind_, 0, sizeof(base64_ind_));
    for (int i = 0; i < 64; ++i)
        base64_ind_[static_cast<unsigned char>(base64_str_[i])] = static_cast<signed char>(i);

    // An entry of 0 means absent or the alphabet's first character; both are
    // accepted as padding, deliberately.
    for (const char candidate : {'=', '!'}) {
        if (base64_ind_[static_cast<unsigned char>(candidate)] == 0) {
            padding_char_ = candidate;
            return true;
        }
    }
    for (int candidate = '"'; candidate <= '}'; ++candidate) {
        if (base64_ind_[candidate] == 0) {
            padding_char_ = static_cast<char>(candidate);
            return true;
        }
    }
    return false;
}

std::string base64::encode(const char* data, size_t bytes, unsigned int line_bytes,
                           bool need_padding) const
{
    std::string out;
    if (!data || bytes == 0)
        return out;
    const bool breaks = line_bytes >= 4 && line_bytes != UINT_MAX;
    const size_t groups = bytes / 3;
    out.reserve(groups * (breaks ? 6 : 4) + 4);

    const unsigned char* in = reinterpret_cast<const unsigned char*>(data);
    size_t line = 0;
    for (size_t g = 0; g < groups; ++g, in += 3) {
        const uint32_t v = uint32_t(in[0]) << 16 | uint32_t(in[1]) << 8 | in[2];
        out += base64_str_[v >> 18 & 63];
        out += base64_str_[v >> 12 & 63];
        out += base64_str_[v >> 6 & 63];
        out += base64_str_[v & 63];
        line += 4;
        if (breaks && line > line_bytes - 4) {
            out += "\r\n";
            line = 0;
        }
    }

    const size_t rest = bytes % 3;
    if (rest == 1) {
        const uint32_t v = uint32_t(in[0]) << 16;
        out += base64_str_[v >> 18 & 63];
        out += base64_str_[v >> 12 & 63];
        if (need_padding)
            out.append(2, padding_char_);
    } else if (rest == 2) {
        const uint32_t v = uint32_t(in[0]) << 16 | uint32_t(in[1]) << 8;
        out += base64_str_[v >> 18 & 63];
        out += base64_str_[v >> 12 & 63];
        out += base64_str_[v >> 6 & 63];
        if (need_padding)
            out += padding_char_;
    }
    return out;
}

std::string base64::decode(const char* data, size_t bytes) const
{
    // The length is a signed 32-bit number; what wraps to 0 or below is empty.
    const int32_t length = static_cast<int32_t>(static_cast<uint32_t>(bytes));
    std::string out;
    if (!data || length <= 0)
        return out;
    out.reserve(size_t(length) / 4 * 3 + 2);

    const unsigned char* in = reinterpret_cast<const unsigned char*>(data);
    const unsigned char padding = static_cast<unsigned char>(padding_char_);
    uint32_t acc = 0;
    int pending = 0;
    for (int32_t i = 0; i < length; ++i) {
        const unsigned char ch = in[i];
        if (ch == '\r' || ch == '\n')
            continue;
        if (ch == padding)
            break;
        const uint32_t value = ch < 128 ? uint32_t(base64_ind_[ch]) : 0;
        acc |= value << (18 - 6 * pending);
        if (++pending == 4) {
            out += static_cast<char>(acc >> 16);
            out += static_cast<char>(acc >> 8);
            out += static_cast<char>(acc);
            acc = 0;
            pending = 0;
        }
    }
    if (pending == 1 || pending == 2) {
        out += static_cast<char>(acc >> 16);
    } else if (pending == 3) {
        out += static_cast<char>(acc >> 16);
        out += static_cast<char>(acc >> 8);
    }
    return out;
}

// ---- sane_config_schm -------------------------------------------------------

namespace {

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
    : scanner_(scanner), jsn_(new json("{}")), def_val_(new json)
{
    if (scanner_)
        scanner_->add_ref();
}

sane_config_schm::~sane_config_schm()
{
    clear();
    def_val_->release();
    if (scanner_)
        scanner_->release();
}

void sane_config_schm::clear()
{
    if (jsn_)
        jsn_->release();
    if (bkp_)
        bkp_->release();
    jsn_ = nullptr;
    bkp_ = nullptr;
}

json* sane_config_schm::values()
{
    if (!jsn_)
        jsn_ = new json("{}");
    return jsn_;
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
    auto* dup = new sane_config_schm(scanner_);
    dup->scheme_name_ = scheme_name_;
    dup->file_ = file_;
    if (jsn_) {
        dup->jsn_->attach_text(jsn_->to_string(false).c_str());
    } else {
        dup->jsn_->release();
        dup->jsn_ = nullptr;
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
    return other && same_members(jsn_, other->jsn_);
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
    if (jsn_)
        jsn_->release();
    jsn_ = doc.release();
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
    if (bkp_)
        bkp_->release();
    bkp_ = jsn_ ? jsn_ : new json("{}");
    jsn_ = new json;
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
    if (cancel && bkp_) {
        if (jsn_)
            jsn_->release();
        jsn_ = bkp_;
    } else if (bkp_) {
        bkp_->release();
    }
    bkp_ = nullptr;
    in_setting_ = false;
}

bool sane_config_schm::has_changed(int* items) const
{
    if (items)
        *items = jsn_ ? jsn_->count() : 0;
    if (!in_setting_ || !bkp_)
        return false;
    return !same_members(jsn_, bkp_);
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

// ---- scanner_cfg ------------------------------------------------------------

namespace {

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

} // namespace

scanner_cfg::scanner_cfg() : global_(new json), default_schm_(new sane_config_schm)
{
    default_schm_->set_scheme_name(default_setting_name_);
    init_version();
    init_select();
}

scanner_cfg::~scanner_cfg()
{
    release_schemes();
    global_->release();
    default_schm_->release();
}

void scanner_cfg::release_schemes()
{
    for (const _cfg_schm& entry : schemes_)
        entry.schm->release();
    schemes_.clear();
}

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
    sane_config_schm* found_default = nullptr;
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
            found_default = schm.release();
        } else {
            listed.insert(name);
            schemes_.push_back({name, schm.release()});
        }
    }
    default_schm_->release();
    default_schm_ = found_default ? found_default : new sane_config_schm;
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
            .append(scheme_text(entry.schm));
    }
    text.append(",\"")
        .append(sane_config_schm::to_hex_letter(default_setting_name_, strlen(default_setting_name_)))
        .append("\":")
        .append(scheme_text(default_schm_))
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
    release_schemes();
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
        found = cur >= 0 ? schemes_[size_t(cur)].schm : default_schm_;
    } else if (strcmp(scheme_name, default_setting_name_) == 0) {
        found = default_schm_;
    } else {
        const int index = index_of(scheme_name);
        found = index >= 0 ? schemes_[size_t(index)].schm : nullptr;
    }
    if (found)
        found->add_ref();
    return found;
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
    schemes_.push_back({key, schm});
    schm->set_scheme_name(key.c_str());
    schm->add_ref();
    return true;
}

bool scanner_cfg::remove_scheme(const char* name)
{
    const int index = index_of(name);
    if (index < 0)
        return false;
    int cur = -1;
    global_->get_value(cur_sel_, cur);
    schemes_[size_t(index)].schm->release();
    schemes_.erase(schemes_.begin() + index);
    if (cur == index)
        init_select();
    else if (cur > index)
        global_->set_value(cur_sel_, cur - 1);
    return true;
}

void scanner_cfg::remove_all_schemes()
{
    release_schemes();
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
        source = default_schm_;
    } else {
        const int index = index_of(cp_from_name);
        if (index < 0)
            return nullptr;
        source = schemes_[size_t(index)].schm;
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

// All devices are converted in memory first: a record in the wrong form
// writes nothing, so a retry never overwrites files converted earlier.
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

int load_mini_file(const char* file, std::string& cont)
{
    if (!file || !*file)
        return EINVAL;
    // Non-blocking, so that a FIFO cannot hang the open.
    const fd_guard fd(open(file, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (fd.get() < 0)
        return errno;
    struct stat st;
    if (fstat(fd.get(), &st) != 0)
        return errno;
    if (S_ISDIR(st.st_mode))
        return EISDIR;
    if (!S_ISREG(st.st_mode))
        return EINVAL;
    if (st.st_size > kMaxMiniFile)
        return EFBIG;

    std::string data(size_t(st.st_size), '\0');
    size_t got = 0;
    while (got < data.size()) {
        const ssize_t n = read(fd.get(), &data[got], data.size() - got);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return errno;
        if (n == 0)
            break;
        got += size_t(n);
    }
    data.resize(got);
    cont.swap(data);
    return 0;
}

} // namespace gb

// ---- model names of old device titles ---------------------------------------

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
        const std::string prefix(b.prefix);
        if (prefix.size() == strlen(vendor) + 1
            && strncasecmp(vendor, b.prefix, prefix.size() - 1) == 0)
            return prefix + b.model(pid);
    }
    return std::string();
}

} // namespace updater
