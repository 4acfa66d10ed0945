// Configuration documents: a small JSON document wrapper over cJSON, a base64
// codec, one named scheme of option values, and a device's configuration file
// with all of its schemes.
#ifndef GB_JSON_H
#define GB_JSON_H

#include <cjson/cJSON.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace gb {

// Intrusive reference count. Objects start with one reference and are destroyed
// by the release that drops the count to zero, never by delete. The count is
// atomic: a host thread hands the module's configuration to the UI thread.
class refer
{
public:
    refer() = default;
    refer(const refer&) = delete;
    refer& operator=(const refer&) = delete;

    int64_t add_ref();
    // Returns the new count; the object is gone when it is 0.
    int64_t release();

protected:
    virtual ~refer();

private:
    std::atomic<int64_t> ref_{1};
};

// Gives back the one reference a ref_ptr owns.
struct releaser
{
    template <class T>
    void operator()(T* obj) const
    {
        obj->release();
    }
};

// Owns one reference to a gb object: adopts the reference a new object or a
// "the caller owns" result carries, and releases it when it goes.
template <class T>
using ref_ptr = std::unique_ptr<T, releaser>;

// A new reference of its own to obj (null stays null).
template <class T>
ref_ptr<T> share(T* obj)
{
    if (obj)
        obj->add_ref();
    return ref_ptr<T>(obj);
}

// One parsed JSON tree, addressed by key paths. In a path "/" separates
// segments and swallows the character after it: "a/xb" names b inside a.
class json : public refer
{
public:
    explicit json(const char* text = nullptr);

    bool attach_text(const char* text);
    // Deep copy of node (printed and parsed again, so the copy has no key).
    bool attach_cjson(const cJSON* node);
    bool create_empty(bool array = false);
    void clear();
    std::string to_string(bool formatted) const;
    int count() const;
    bool is_object() const;

    bool get_value(const char* key, bool& val) const;
    bool get_value(const char* key, int& val) const;
    bool get_value(const char* key, double& val) const;
    bool get_value(const char* key, std::string& val) const;
    // The caller owns one reference to the new document.
    bool get_value(const char* key, json*& val) const;
    bool get_value_as_string(const char* key, std::string& val, bool integer) const;
    bool get_as_array(const char* key, std::vector<std::string>& val) const;

    // A null key appends to an array document. A double write leaves the int
    // part of the number as it was.
    bool set_value(const char* key, bool val);
    bool set_value(const char* key, int val);
    bool set_value(const char* key, double val);
    bool set_value(const char* key, const std::string& val);
    bool set_value(const char* key, const char* val);
    // Moves val's root here and leaves val empty. Replacing an existing member
    // also drops every member after it in the same object.
    bool set_value(const char* key, json* val);

    bool first_child(std::string& value, std::string* name = nullptr);
    bool next_child(std::string& value, std::string* name = nullptr);

    // Safe during a walk: the next next_child returns the member after the
    // removed one.
    bool remove(const char* key);
    bool change_key(const char* old_key, const char* new_key);

    static cJSON* create_element(bool array);
    static cJSON* create_element_with_name(const char* name);
    // Linear search by key. *prev must point at the link holding first; it is
    // moved to the link holding the member found.
    static cJSON* find_sibling(cJSON* first, const char* name, cJSON*** prev);
    // Frees the node's value and children and turns it into null; its key and
    // number parts stay.
    static void free_node_data(cJSON* node);

protected:
    ~json() override;

private:
    cJSON* find(const char* key, bool create, cJSON*** link, cJSON** parent = nullptr);
    const cJSON* find(const char* key) const;
    cJSON* writable_node(const char* key);
    bool report_child(std::string& value, std::string* name) const;
    void reset_walk();

    cJSON* obj_ = nullptr;
    cJSON* cur_child_ = nullptr;
    cJSON walk_head_{};
    bool is_array_ = false;
};

// Base64 with a settable 64-character alphabet; the padding character is
// derived from the alphabet.
class base64
{
public:
    base64();

    bool set_base64_table(const char* table = nullptr);
    // line_bytes below 4 (and the default) means no line breaks.
    std::string encode(const char* data, size_t bytes,
                       unsigned int line_bytes = static_cast<unsigned int>(-1),
                       bool need_padding = true) const;
    // Never fails: characters outside the alphabet count as 0. Lengths are
    // taken as signed 32-bit numbers.
    std::string decode(const char* data, size_t bytes) const;

    static bool is_valid_base64_table(const char* table);
    bool initialize_base64_table(const char* table);

private:
    signed char base64_ind_[128];
    char base64_str_[65];
    char padding_char_ = '=';
};

class scanner_cfg;

// A named set of option values, kept as option name to upper-case hex text of
// the value bytes, holding only what differs from the device defaults.
class sane_config_schm : public refer
{
public:
    explicit sane_config_schm(scanner_cfg* scanner = nullptr);

    std::string get_scheme_name() const;
    void set_scheme_name(const char* name);
    std::string get_version() const;
    // The caller owns the copy.
    sane_config_schm* copy() const;
    void copy_default_value(const sane_config_schm* from);
    bool is_equal(const sane_config_schm* other) const;

    bool load_from_mem(const char* text, bool in_base64 = true);
    bool load_from_file(const char* path);
    std::string to_text_stream(bool b64 = true, bool with_ver = true);
    bool save_to(const char* path);

    void set_default_value(int sn, const char* name, const char* data, size_t bytes);
    int id_from_name(const char* name) const;
    std::string default_value(const char* name) const;
    void config_changed(const char* name, const char* data, size_t bytes, bool extra = false);
    void config_changed(int sn, const char* data, size_t bytes, bool extra = false);
    void set_value(const char* name, const char* data, size_t bytes, bool extra = false);
    void remove_config(const char* name);
    bool get_config(const char* name, std::string& value) const;
    bool first_config(std::string& name, std::string& value);
    bool next_config(std::string& name, std::string& value);

    void begin_setting(bool restore = false);
    void end_setting(bool cancel);
    bool has_changed(int* items = nullptr) const;

    // Upgrades values written by older releases (see the version rules in
    // the implementation) and saves the scheme when anything changed.
    void update(bool (*discard)(int sn, void* param), void* param,
                const char* (*title_to_name)(const char* title),
                std::string* discarded = nullptr);

    static bool is_option_data(std::string& name);
    static std::string to_hex_letter(const char* data, size_t bytes);
    static std::string from_hex_letter(const char* text, size_t bytes);
    static bool hex(unsigned char ch, unsigned char* nibble);
    static bool hex_char(const char* two, unsigned char* byte);

protected:
    ~sane_config_schm() override;

private:
    void clear();
    json* values();
    bool walk_config(bool first, std::string& name, std::string& value);
    // Replaces the values by text's addressable members; see the implementation.
    bool attach_values(const char* text, std::string* dropped);

    std::string scheme_name_;
    ref_ptr<scanner_cfg> scanner_;
    std::string file_;
    ref_ptr<json> jsn_;
    ref_ptr<json> bkp_;
    ref_ptr<json> def_val_;
    bool in_setting_ = false;
    std::map<int, std::string> id_name_;
};

// One device's configuration file: the default scheme, the user schemes in
// file order and the selection. The file is one line of base64 of the JSON.
class scanner_cfg : public refer
{
public:
    struct _update_func
    {
        void (*trans_number)(const char* name, std::string& value, void* param);
        const char* (*title_2_name)(const char* title, void* param);
        void* param;
    };

    static constexpr char global_name_[] = "global";
    static constexpr char cur_sel_[] = "cur";
    static constexpr char default_setting_name_[] = "默认设置";

    scanner_cfg();

    // Always 0: a missing or broken file leaves an empty configuration.
    int load_file(const char* file);
    // 0, or 22 for text that does not parse (the previous content stays).
    int load_mem(const char* mem, bool in_base64 = true);
    std::string to_text(bool b64 = true);
    // 0 or the system error number.
    int save(const char* file = nullptr);
    void clear();
    void init_version();
    void init_select();

    std::string get_current_scheme_name() const;
    // The caller owns one reference to the result.
    sane_config_schm* get_scheme(const char* scheme_name = nullptr);
    void get_all_schemes(std::vector<std::string>& schemes) const;
    bool add_scheme(sane_config_schm* schm, const char* name = nullptr);
    bool remove_scheme(const char* name);
    void remove_all_schemes();
    bool select_scheme(const char* scheme_name);
    // The caller owns the copy.
    sane_config_schm* copy_scheme(const char* cp_from_name);
    bool rename_scheme(const char* from, const char* to);

    static std::string user_default_scheme_name();
    // Converts the single configuration file of older releases into one file
    // per device beside it, then renames it with "_bk" appended. 0, 22 when
    // the old content is not in the expected form (nothing is written then),
    // else the system error number of the failed read, save or rename.
    static int update(const char* file, _update_func* func);

protected:
    ~scanner_cfg() override;

private:
    struct _cfg_schm
    {
        std::string name;
        ref_ptr<sane_config_schm> schm;
    };

    void walk_sibling_schemes(json& doc);
    int current_index() const;
    int index_of(const char* name) const;

    std::string path_;
    std::string scanner_name_;
    ref_ptr<json> global_;
    std::vector<_cfg_schm> schemes_;
    ref_ptr<sane_config_schm> default_schm_;
};

// Reads a whole regular file of at most 64 MiB; 0 or an error number.
int load_mini_file(const char* file, std::string& cont);

} // namespace gb

// Model names of the three brands for the product id in an old device title.
namespace updater {
std::string zy_model_from_pid(const char* pid);
std::string kr_model_from_pid(const char* pid);
std::string vel_model_from_pid(const char* pid);
// The name the converter gives the file of a device whose title named the
// brand with the device name's first word vendor ("ZYTRASCAN", any case) and
// the product id pid ("7203"): "ZYTRASCAN G72S". Empty for other vendors.
std::string converted_device_name(const char* vendor, const char* pid);
} // namespace updater

#endif
