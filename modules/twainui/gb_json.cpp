#include "gb_json.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

// Configuration keys are one or two levels deep; refusing deep paths keeps
// every tree we build printable and parseable again.
constexpr size_t kMaxPathDepth = 64;

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

} // namespace

namespace gb {

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

} // namespace gb
