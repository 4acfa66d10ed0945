// The fake driver's state and its SANE entry points. One global state behind
// a recursive lock: hooks run under the lock and may script the driver again.
#include "fakedriver.h"

#include "lexipak.h"

#include <sane/saneopts.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace {

using bytes = std::vector<unsigned char>;

// The private control-option action that reads an option's default value.
constexpr int k_action_get_default = 100;

struct option {
    SANE_Option_Descriptor descriptor{};
    std::string name, title, desc;
    std::vector<std::string> strings;
    std::vector<SANE_String_Const> string_list; // null-terminated, points into strings
    std::vector<SANE_Word> word_list;           // count first
    SANE_Range range{};
    bytes value, default_value;
    bool hidden = false;
};

enum class private_kind { data, word, text };

struct private_option {
    private_kind kind = private_kind::data;
    bytes stored;
};

struct result {
    SANE_Status status;
    SANE_Int info;
};

struct activation_rule {
    int target;
    int option;
    bool is_text;
    std::string text;
    SANE_Word word;
};

struct device {
    std::string name, vendor, model, type;
    SANE_Device sane{};
};

struct page {
    SANE_Parameters parameters{};
    bytes data;
};

struct log_entry {
    fakedriver_call call{};
    bytes value;
};

using option_action = std::pair<int, int>;

struct driver_state {
    std::recursive_mutex lock;
    std::vector<std::unique_ptr<option>> options;
    std::map<int, private_option> privates;
    std::map<option_action, std::deque<result>> queued;
    std::map<option_action, result> persistent;
    std::map<int, std::deque<bytes>> inexact;
    std::map<int, std::deque<SANE_Status>> entry_status;
    std::vector<activation_rule> rules;
    fakedriver_hook hook = nullptr;
    void* hook_context = nullptr;
    std::vector<std::unique_ptr<device>> devices;
    std::vector<const SANE_Device*> device_list{nullptr};
    std::deque<page> pages;
    page current;
    bool scanning = false;
    std::size_t read_position = 0;
    int read_chunk = 0;
    bool open = false;
    bool translate = false;
    bool reset_once = false; // a test has scripted the driver
    std::vector<log_entry> log;
};

void clear_script(driver_state& s);

// Never destroyed: a driver call from another library's static destructor
// must still find it.
driver_state& state()
{
    static driver_state& instance = *[] {
        auto* s = new driver_state;
        clear_script(*s);
        return s;
    }();
    return instance;
}

// The one device handle: the address of this tag.
char g_handle_tag;

using guard = std::lock_guard<std::recursive_mutex>;

bool valid_handle(const driver_state& s, SANE_Handle handle)
{
    return s.open && handle == &g_handle_tag;
}

std::string text_in(const driver_state& s, const char* text)
{
    if (!text)
        return std::string();
    return s.translate ? from_default_language(text) : text;
}

option* find_option(driver_state& s, int n)
{
    if (n < 0 || n >= static_cast<int>(s.options.size()))
        return nullptr;
    return s.options[static_cast<std::size_t>(n)].get();
}

SANE_Word word_of(const bytes& value)
{
    SANE_Word word = 0;
    std::memcpy(&word, value.data(), std::min(value.size(), sizeof(word)));
    return word;
}

std::string string_of(const bytes& value)
{
    const auto end = std::find(value.begin(), value.end(), '\0');
    return std::string(value.begin(), end);
}

// size bytes of an option value from a caller's buffer: a string stops at its
// terminator and always keeps one.
bytes value_from(const option& o, const void* source, std::size_t source_size)
{
    bytes value(static_cast<std::size_t>(std::max(o.descriptor.size, 0)), 0);
    if (!source || value.empty())
        return value;
    if (o.descriptor.type == SANE_TYPE_STRING) {
        const char* text = static_cast<const char*>(source);
        const std::size_t length = strnlen(text, std::min(source_size, value.size() - 1));
        std::memcpy(value.data(), text, length);
    } else {
        std::memcpy(value.data(), source, std::min(source_size, value.size()));
    }
    return value;
}

// What a get hands out: a string up to its terminator, anything else whole.
std::size_t output_size(const option& o, const bytes& value)
{
    if (o.descriptor.type == SANE_TYPE_STRING)
        return string_of(value).size() + 1;
    return value.size();
}

void update_option_count(driver_state& s)
{
    const SANE_Word count = static_cast<SANE_Word>(s.options.size());
    std::memcpy(s.options[0]->value.data(), &count, sizeof(count));
    std::memcpy(s.options[0]->default_value.data(), &count, sizeof(count));
}

bool rule_holds(driver_state& s, const activation_rule& rule)
{
    const option* controller = find_option(s, rule.option);
    if (!controller)
        return false;
    if (rule.is_text)
        return string_of(controller->value) == rule.text;
    return word_of(controller->value) == rule.word;
}

void apply_rules_for_target(driver_state& s, int target)
{
    option* o = find_option(s, target);
    if (!o)
        return;
    bool active = false;
    for (const activation_rule& rule : s.rules) {
        if (rule.target == target && rule_holds(s, rule))
            active = true;
    }
    if (active)
        o->descriptor.cap &= ~SANE_CAP_INACTIVE;
    else
        o->descriptor.cap |= SANE_CAP_INACTIVE;
}

// Re-evaluates the targets that option controls (all targets for -1); true
// when option controls any.
bool apply_rules(driver_state& s, int controlling)
{
    std::vector<int> targets;
    for (const activation_rule& rule : s.rules) {
        if (controlling < 0 || rule.option == controlling)
            targets.push_back(rule.target);
    }
    for (int target : targets)
        apply_rules_for_target(s, target);
    return !targets.empty();
}

void restore_defaults(driver_state& s)
{
    for (auto& o : s.options)
        o->value = o->default_value;
    apply_rules(s, -1);
}

void append_log(driver_state& s, fakedriver_entry entry, SANE_Status status)
{
    log_entry e;
    e.call.entry = entry;
    e.call.option = -1;
    e.call.action = -1;
    e.call.status = status;
    s.log.push_back(std::move(e));
}

void clear_script(driver_state& s)
{
    s.options.clear();
    s.privates.clear();
    s.queued.clear();
    s.persistent.clear();
    s.inexact.clear();
    s.entry_status.clear();
    s.rules.clear();
    s.hook = nullptr;
    s.hook_context = nullptr;
    s.devices.clear();
    s.device_list.assign(1, nullptr);
    s.pages.clear();
    s.current = page();
    s.scanning = false;
    s.read_position = 0;
    s.read_chunk = 0;
    s.open = false;
    s.log.clear();

    auto count = std::make_unique<option>();
    count->title = SANE_TITLE_NUM_OPTIONS;
    count->desc = SANE_DESC_NUM_OPTIONS;
    count->descriptor.name = SANE_NAME_NUM_OPTIONS;
    count->descriptor.title = count->title.c_str();
    count->descriptor.desc = count->desc.c_str();
    count->descriptor.type = SANE_TYPE_INT;
    count->descriptor.unit = SANE_UNIT_NONE;
    count->descriptor.size = sizeof(SANE_Word);
    count->descriptor.cap = SANE_CAP_SOFT_DETECT;
    count->descriptor.constraint_type = SANE_CONSTRAINT_NONE;
    count->value.assign(sizeof(SANE_Word), 0);
    count->default_value = count->value;
    s.options.push_back(std::move(count));
    update_option_count(s);
}

// Scripted status of a non-option entry point, if one is queued.
bool take_entry_status(driver_state& s, fakedriver_entry entry, SANE_Status* status)
{
    auto it = s.entry_status.find(entry);
    if (it == s.entry_status.end() || it->second.empty())
        return false;
    *status = it->second.front();
    it->second.pop_front();
    return true;
}

bool take_result(driver_state& s, int n, int action, result* out)
{
    const option_action key{n, action};
    auto queued = s.queued.find(key);
    if (queued != s.queued.end() && !queued->second.empty()) {
        *out = queued->second.front();
        queued->second.pop_front();
        return true;
    }
    auto persistent = s.persistent.find(key);
    if (persistent != s.persistent.end()) {
        *out = persistent->second;
        return true;
    }
    return false;
}

// Brings a value into its constraint; true when it had to change.
bool constrain(const option& o, bytes& value)
{
    const SANE_Option_Descriptor& d = o.descriptor;
    if (d.type != SANE_TYPE_INT && d.type != SANE_TYPE_FIXED)
        return false;
    bool changed = false;
    for (std::size_t at = 0; at + sizeof(SANE_Word) <= value.size(); at += sizeof(SANE_Word)) {
        SANE_Word word = 0;
        std::memcpy(&word, value.data() + at, sizeof(word));
        SANE_Word adjusted = word;
        if (d.constraint_type == SANE_CONSTRAINT_RANGE) {
            adjusted = std::clamp(word, o.range.min, o.range.max);
            if (o.range.quant > 0) {
                const long long steps =
                    (static_cast<long long>(adjusted) - o.range.min + o.range.quant / 2) /
                    o.range.quant;
                adjusted = static_cast<SANE_Word>(
                    std::min<long long>(o.range.min + steps * o.range.quant, o.range.max));
            }
        } else if (d.constraint_type == SANE_CONSTRAINT_WORD_LIST && o.word_list.size() > 1) {
            adjusted = o.word_list[1];
            for (std::size_t i = 1; i < o.word_list.size(); ++i) {
                const long long distance = std::llabs(static_cast<long long>(word) - o.word_list[i]);
                if (distance < std::llabs(static_cast<long long>(word) - adjusted))
                    adjusted = o.word_list[i];
            }
        }
        if (adjusted != word) {
            std::memcpy(value.data() + at, &adjusted, sizeof(adjusted));
            changed = true;
        }
    }
    return changed;
}

bool in_string_list(const option& o, const std::string& text)
{
    if (o.descriptor.constraint_type != SANE_CONSTRAINT_STRING_LIST)
        return true;
    return std::find(o.strings.begin(), o.strings.end(), text) != o.strings.end();
}

void write_back(const option& o, const bytes& value, void* destination)
{
    std::memcpy(destination, value.data(), output_size(o, value));
}

SANE_Status set_option(driver_state& s, int n, option& o, void* value, SANE_Int* info)
{
    const SANE_Option_Descriptor& d = o.descriptor;
    if (d.type == SANE_TYPE_GROUP || !(d.cap & SANE_CAP_SOFT_SELECT) || (d.cap & SANE_CAP_INACTIVE))
        return SANE_STATUS_INVAL;
    if (d.type == SANE_TYPE_BUTTON) {
        if (o.name == "restore") {
            restore_defaults(s);
            *info |= SANE_INFO_RELOAD_OPTIONS | SANE_INFO_RELOAD_PARAMS;
        }
        return SANE_STATUS_GOOD;
    }
    if (!value)
        return SANE_STATUS_INVAL;

    bytes incoming = value_from(o, value, static_cast<std::size_t>(d.size));
    if (d.type == SANE_TYPE_BOOL) {
        const SANE_Word word = word_of(incoming);
        if (word != SANE_FALSE && word != SANE_TRUE)
            return SANE_STATUS_INVAL;
    }
    if (d.type == SANE_TYPE_STRING && !in_string_list(o, string_of(incoming)))
        return SANE_STATUS_INVAL;

    bool inexact = constrain(o, incoming);
    auto adjusted = s.inexact.find(n);
    if (adjusted != s.inexact.end() && !adjusted->second.empty()) {
        incoming = value_from(o, adjusted->second.front().data(), adjusted->second.front().size());
        adjusted->second.pop_front();
        inexact = true;
    }
    o.value = incoming;
    if (inexact) {
        write_back(o, o.value, value);
        *info |= SANE_INFO_INEXACT;
    }
    if (apply_rules(s, n))
        *info |= SANE_INFO_RELOAD_OPTIONS;
    return SANE_STATUS_GOOD;
}

SANE_Status control_described(driver_state& s, int n, option& o, SANE_Action action, void* value,
                              SANE_Int* info)
{
    const SANE_Option_Descriptor& d = o.descriptor;
    switch (static_cast<int>(action)) {
    case SANE_ACTION_GET_VALUE:
        if (!value || d.type == SANE_TYPE_GROUP || d.type == SANE_TYPE_BUTTON)
            return SANE_STATUS_INVAL;
        write_back(o, o.value, value);
        return SANE_STATUS_GOOD;
    case k_action_get_default:
        if (!value || d.type == SANE_TYPE_GROUP || d.type == SANE_TYPE_BUTTON)
            return SANE_STATUS_INVAL;
        write_back(o, o.default_value, value);
        return SANE_STATUS_GOOD;
    case SANE_ACTION_SET_VALUE:
        return set_option(s, n, o, value, info);
    case SANE_ACTION_SET_AUTO:
        if (!(d.cap & SANE_CAP_AUTOMATIC) || (d.cap & SANE_CAP_INACTIVE))
            return SANE_STATUS_INVAL;
        o.value = o.default_value;
        if (apply_rules(s, n))
            *info |= SANE_INFO_RELOAD_OPTIONS;
        return SANE_STATUS_GOOD;
    default:
        return SANE_STATUS_INVAL;
    }
}

constexpr std::size_t k_private_text_limit = 4096;

SANE_Status control_private(private_option& p, SANE_Action action, void* value)
{
    if (!value)
        return SANE_STATUS_INVAL;
    if (action == SANE_ACTION_GET_VALUE) {
        // An empty record has no storage to copy from.
        std::copy(p.stored.begin(), p.stored.end(), static_cast<unsigned char*>(value));
        return SANE_STATUS_GOOD;
    }
    if (action != SANE_ACTION_SET_VALUE)
        return SANE_STATUS_INVAL;
    const unsigned char* source = static_cast<const unsigned char*>(value);
    switch (p.kind) {
    case private_kind::data:
        std::copy(source, source + p.stored.size(), p.stored.begin());
        break;
    case private_kind::word:
        p.stored.assign(source, source + sizeof(SANE_Word));
        break;
    case private_kind::text: {
        const std::size_t length = strnlen(static_cast<const char*>(value), k_private_text_limit - 1);
        p.stored.assign(source, source + length);
        p.stored.push_back(0);
        break;
    }
    }
    return SANE_STATUS_GOOD;
}

// The bytes a caller's set carries, as far as the driver knows their length.
bytes sent_bytes(driver_state& s, int n, const void* value)
{
    if (!value)
        return bytes();
    if (option* o = find_option(s, n)) {
        if (o->descriptor.type == SANE_TYPE_BUTTON || o->descriptor.type == SANE_TYPE_GROUP)
            return bytes();
        if (o->descriptor.type == SANE_TYPE_STRING) {
            const std::size_t limit = static_cast<std::size_t>(std::max(o->descriptor.size, 1));
            const std::size_t length = strnlen(static_cast<const char*>(value), limit);
            const auto* text = static_cast<const unsigned char*>(value);
            bytes sent(text, text + length);
            sent.push_back(0);
            return sent;
        }
        const auto* first = static_cast<const unsigned char*>(value);
        return bytes(first, first + std::max(o->descriptor.size, 0));
    }
    auto p = s.privates.find(n);
    if (p == s.privates.end())
        return bytes();
    const auto* first = static_cast<const unsigned char*>(value);
    switch (p->second.kind) {
    case private_kind::data:
        return bytes(first, first + p->second.stored.size());
    case private_kind::word:
        return bytes(first, first + sizeof(SANE_Word));
    case private_kind::text: {
        const std::size_t length = strnlen(static_cast<const char*>(value), k_private_text_limit - 1);
        bytes sent(first, first + length);
        sent.push_back(0);
        return sent;
    }
    }
    return bytes();
}

// The bytes a get wrote into the caller's buffer.
bytes got_bytes(driver_state& s, int n, SANE_Action action, const void* value)
{
    if (!value)
        return bytes();
    const auto* first = static_cast<const unsigned char*>(value);
    if (option* o = find_option(s, n)) {
        if (o->descriptor.type == SANE_TYPE_BUTTON || o->descriptor.type == SANE_TYPE_GROUP)
            return bytes();
        const bytes& source = action == SANE_ACTION_GET_VALUE ? o->value : o->default_value;
        return bytes(first, first + output_size(*o, source));
    }
    auto p = s.privates.find(n);
    if (p == s.privates.end())
        return bytes();
    return bytes(first, first + p->second.stored.size());
}

int add_option_locked(driver_state& s, const SANE_Option_Descriptor* d, const void* default_value)
{
    auto o = std::make_unique<option>();
    o->name = d->name ? d->name : "";
    o->title = text_in(s, d->title);
    o->desc = text_in(s, d->desc);
    o->descriptor = *d;
    o->descriptor.name = o->name.c_str();
    o->descriptor.title = o->title.c_str();
    o->descriptor.desc = o->desc.c_str();

    std::string default_text;
    if (d->type == SANE_TYPE_STRING && default_value)
        default_text = text_in(s, static_cast<const char*>(default_value));
    std::size_t longest = default_text.size();

    switch (d->constraint_type) {
    case SANE_CONSTRAINT_RANGE:
        if (d->constraint.range)
            o->range = *d->constraint.range;
        o->descriptor.constraint.range = &o->range;
        break;
    case SANE_CONSTRAINT_WORD_LIST: {
        const SANE_Word* words = d->constraint.word_list;
        const SANE_Word count = words ? std::max(words[0], 0) : 0;
        o->word_list.assign(1, count);
        for (SANE_Word i = 1; i <= count; ++i)
            o->word_list.push_back(words[i]);
        o->descriptor.constraint.word_list = o->word_list.data();
        break;
    }
    case SANE_CONSTRAINT_STRING_LIST: {
        for (const SANE_String_Const* it = d->constraint.string_list; it && *it; ++it) {
            o->strings.push_back(text_in(s, *it));
            longest = std::max(longest, o->strings.back().size());
        }
        for (const std::string& text : o->strings)
            o->string_list.push_back(text.c_str());
        o->string_list.push_back(nullptr);
        o->descriptor.constraint.string_list = o->string_list.data();
        break;
    }
    default:
        break;
    }

    if (d->type == SANE_TYPE_STRING)
        o->descriptor.size = std::max<SANE_Int>(d->size, static_cast<SANE_Int>(longest + 1));
    if (d->type == SANE_TYPE_STRING)
        o->default_value = value_from(*o, default_text.c_str(), default_text.size() + 1);
    else
        o->default_value = value_from(*o, default_value,
                                      default_value ? static_cast<std::size_t>(o->descriptor.size) : 0);
    o->value = o->default_value;

    s.options.push_back(std::move(o));
    update_option_count(s);
    return static_cast<int>(s.options.size()) - 1;
}

SANE_Option_Descriptor make_descriptor(const char* name, const char* title, const char* desc,
                                       SANE_Value_Type type, SANE_Int size)
{
    SANE_Option_Descriptor d{};
    d.name = name;
    d.title = title;
    d.desc = desc;
    d.type = type;
    d.unit = SANE_UNIT_NONE;
    d.size = size;
    d.cap = SANE_CAP_SOFT_SELECT | SANE_CAP_SOFT_DETECT;
    d.constraint_type = SANE_CONSTRAINT_NONE;
    return d;
}

int set_bytes(option* o, const void* value, std::size_t size, bytes option::*field)
{
    if (!o || !value)
        return -1;
    if (o->descriptor.type == SANE_TYPE_STRING) {
        const std::size_t length = strnlen(static_cast<const char*>(value), size);
        if (length + 1 > static_cast<std::size_t>(o->descriptor.size))
            return -1;
    } else if (size > static_cast<std::size_t>(std::max(o->descriptor.size, 0))) {
        return -1;
    }
    bytes stored(static_cast<std::size_t>(std::max(o->descriptor.size, 0)), 0);
    if (o->descriptor.type == SANE_TYPE_STRING)
        std::memcpy(stored.data(), value, strnlen(static_cast<const char*>(value), size));
    else
        std::memcpy(stored.data(), value, size);
    o->*field = std::move(stored);
    return 0;
}

} // namespace

extern "C" {

// ---- script ----------------------------------------------------------------

void fakedriver_reset(void)
{
    driver_state& s = state();
    guard lock(s.lock);
    clear_script(s);
    s.reset_once = true;
}

void fakedriver_translate_texts(int on)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.translate = on != 0;
}

int fakedriver_add_option(const SANE_Option_Descriptor* descriptor, const void* default_value)
{
    if (!descriptor)
        return -1;
    driver_state& s = state();
    guard lock(s.lock);
    return add_option_locked(s, descriptor, default_value);
}

int fakedriver_add_group(const char* title)
{
    SANE_Option_Descriptor d = make_descriptor("", title, "", SANE_TYPE_GROUP, 0);
    d.cap = 0;
    return fakedriver_add_option(&d, nullptr);
}

int fakedriver_add_button(const char* name, const char* title, const char* desc)
{
    const SANE_Option_Descriptor d = make_descriptor(name, title, desc, SANE_TYPE_BUTTON, 0);
    return fakedriver_add_option(&d, nullptr);
}

int fakedriver_add_bool(const char* name, const char* title, const char* desc, SANE_Bool value)
{
    const SANE_Option_Descriptor d =
        make_descriptor(name, title, desc, SANE_TYPE_BOOL, sizeof(SANE_Word));
    return fakedriver_add_option(&d, &value);
}

int fakedriver_add_int(const char* name, const char* title, const char* desc, SANE_Int value)
{
    const SANE_Option_Descriptor d =
        make_descriptor(name, title, desc, SANE_TYPE_INT, sizeof(SANE_Word));
    return fakedriver_add_option(&d, &value);
}

int fakedriver_add_int_range(const char* name, const char* title, const char* desc, SANE_Int min,
                             SANE_Int max, SANE_Int quant, SANE_Int value)
{
    const SANE_Range range{min, max, quant};
    SANE_Option_Descriptor d = make_descriptor(name, title, desc, SANE_TYPE_INT, sizeof(SANE_Word));
    d.constraint_type = SANE_CONSTRAINT_RANGE;
    d.constraint.range = &range;
    return fakedriver_add_option(&d, &value);
}

int fakedriver_add_int_list(const char* name, const char* title, const char* desc,
                            const SANE_Int* words, int count, SANE_Int value)
{
    std::vector<SANE_Word> list(1, std::max(count, 0));
    if (words && count > 0)
        list.insert(list.end(), words, words + count);
    SANE_Option_Descriptor d = make_descriptor(name, title, desc, SANE_TYPE_INT, sizeof(SANE_Word));
    d.constraint_type = SANE_CONSTRAINT_WORD_LIST;
    d.constraint.word_list = list.data();
    return fakedriver_add_option(&d, &value);
}

int fakedriver_add_int_array(const char* name, const char* title, const char* desc, int count,
                             SANE_Int min, SANE_Int max, const SANE_Int* values)
{
    const SANE_Range range{min, max, 0};
    SANE_Option_Descriptor d = make_descriptor(
        name, title, desc, SANE_TYPE_INT, static_cast<SANE_Int>(sizeof(SANE_Word)) * std::max(count, 1));
    d.constraint_type = SANE_CONSTRAINT_RANGE;
    d.constraint.range = &range;
    return fakedriver_add_option(&d, values);
}

int fakedriver_add_fixed_range(const char* name, const char* title, const char* desc,
                               SANE_Fixed min, SANE_Fixed max, SANE_Fixed quant, SANE_Fixed value)
{
    const SANE_Range range{min, max, quant};
    SANE_Option_Descriptor d =
        make_descriptor(name, title, desc, SANE_TYPE_FIXED, sizeof(SANE_Word));
    d.constraint_type = SANE_CONSTRAINT_RANGE;
    d.constraint.range = &range;
    return fakedriver_add_option(&d, &value);
}

int fakedriver_add_string_list(const char* name, const char* title, const char* desc,
                               const char* const* list, const char* value)
{
    // The size follows the (possibly translated) texts; add_option works it out.
    SANE_Option_Descriptor d = make_descriptor(name, title, desc, SANE_TYPE_STRING, 1);
    d.constraint_type = SANE_CONSTRAINT_STRING_LIST;
    d.constraint.string_list = const_cast<SANE_String_Const*>(list);
    return fakedriver_add_option(&d, value ? value : "");
}

int fakedriver_add_string(const char* name, const char* title, const char* desc, int size,
                          const char* value)
{
    const SANE_Option_Descriptor d = make_descriptor(name, title, desc, SANE_TYPE_STRING, size);
    return fakedriver_add_option(&d, value ? value : "");
}

int fakedriver_find(const char* name)
{
    if (!name)
        return -1;
    driver_state& s = state();
    guard lock(s.lock);
    for (std::size_t n = 1; n < s.options.size(); ++n) {
        if (s.options[n]->name == name)
            return static_cast<int>(n);
    }
    return -1;
}

int fakedriver_option_count(void)
{
    driver_state& s = state();
    guard lock(s.lock);
    return static_cast<int>(s.options.size());
}

int fakedriver_set_cap(int n, SANE_Int cap)
{
    driver_state& s = state();
    guard lock(s.lock);
    option* o = find_option(s, n);
    if (!o)
        return -1;
    o->descriptor.cap = cap;
    return 0;
}

SANE_Int fakedriver_get_cap(int n)
{
    driver_state& s = state();
    guard lock(s.lock);
    const option* o = find_option(s, n);
    return o ? o->descriptor.cap : 0;
}

int fakedriver_set_active(int n, int active)
{
    driver_state& s = state();
    guard lock(s.lock);
    option* o = find_option(s, n);
    if (!o)
        return -1;
    if (active)
        o->descriptor.cap &= ~SANE_CAP_INACTIVE;
    else
        o->descriptor.cap |= SANE_CAP_INACTIVE;
    return 0;
}

int fakedriver_set_unit(int n, SANE_Unit unit)
{
    driver_state& s = state();
    guard lock(s.lock);
    option* o = find_option(s, n);
    if (!o)
        return -1;
    o->descriptor.unit = unit;
    return 0;
}

int fakedriver_hide_descriptor(int n, int hidden)
{
    driver_state& s = state();
    guard lock(s.lock);
    option* o = find_option(s, n);
    if (!o)
        return -1;
    o->hidden = hidden != 0;
    return 0;
}

// ---- values --------------------------------------------------------------------

int fakedriver_set_value(int n, const void* value, size_t size)
{
    driver_state& s = state();
    guard lock(s.lock);
    return set_bytes(find_option(s, n), value, size, &option::value);
}

int fakedriver_set_default(int n, const void* value, size_t size)
{
    driver_state& s = state();
    guard lock(s.lock);
    return set_bytes(find_option(s, n), value, size, &option::default_value);
}

int fakedriver_set_word(int n, SANE_Word value)
{
    return fakedriver_set_value(n, &value, sizeof(value));
}

int fakedriver_set_string(int n, const char* value)
{
    if (!value)
        return -1;
    return fakedriver_set_value(n, value, std::strlen(value) + 1);
}

int fakedriver_get_value(int n, void* buffer, size_t size)
{
    driver_state& s = state();
    guard lock(s.lock);
    const option* o = find_option(s, n);
    if (!o)
        return -1;
    if (buffer && !o->value.empty())
        std::memcpy(buffer, o->value.data(), std::min(size, o->value.size()));
    return static_cast<int>(o->value.size());
}

namespace {

// One of an option's byte fields read as a word or as text, under the driver's lock.
SANE_Word field_word(int n, bytes option::*field)
{
    driver_state& s = state();
    guard lock(s.lock);
    const option* o = find_option(s, n);
    return o ? word_of(o->*field) : 0;
}

const char* field_string(int n, bytes option::*field)
{
    driver_state& s = state();
    guard lock(s.lock);
    const option* o = find_option(s, n);
    if (!o || (o->*field).empty())
        return "";
    return reinterpret_cast<const char*>((o->*field).data());
}

} // namespace

SANE_Word fakedriver_get_word(int n)
{
    return field_word(n, &option::value);
}

const char* fakedriver_get_string(int n)
{
    return field_string(n, &option::value);
}

SANE_Word fakedriver_get_default_word(int n)
{
    return field_word(n, &option::default_value);
}

const char* fakedriver_get_default_string(int n)
{
    return field_string(n, &option::default_value);
}

void fakedriver_restore_defaults(void)
{
    driver_state& s = state();
    guard lock(s.lock);
    restore_defaults(s);
}

// ---- private options -------------------------------------------------------------

void fakedriver_set_private_data(int n, const void* data, size_t size)
{
    driver_state& s = state();
    guard lock(s.lock);
    private_option& p = s.privates[n];
    p.kind = private_kind::data;
    const auto* first = static_cast<const unsigned char*>(data);
    p.stored = first ? bytes(first, first + size) : bytes(size, 0);
}

void fakedriver_set_private_word(int n, SANE_Word value)
{
    driver_state& s = state();
    guard lock(s.lock);
    private_option& p = s.privates[n];
    p.kind = private_kind::word;
    const auto* first = reinterpret_cast<const unsigned char*>(&value);
    p.stored.assign(first, first + sizeof(value));
}

void fakedriver_set_private_text(int n, const char* text)
{
    driver_state& s = state();
    guard lock(s.lock);
    private_option& p = s.privates[n];
    p.kind = private_kind::text;
    const std::string stored = text ? std::string(text, strnlen(text, k_private_text_limit - 1)) : "";
    p.stored.assign(stored.begin(), stored.end());
    p.stored.push_back(0);
}

void fakedriver_remove_private(int n)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.privates.erase(n);
}

int fakedriver_get_private(int n, void* buffer, size_t size)
{
    driver_state& s = state();
    guard lock(s.lock);
    auto it = s.privates.find(n);
    if (it == s.privates.end())
        return -1;
    if (buffer)
        std::memcpy(buffer, it->second.stored.data(), std::min(size, it->second.stored.size()));
    return static_cast<int>(it->second.stored.size());
}

// ---- scripted answers ---------------------------------------------------------------

void fakedriver_queue_result(int n, SANE_Action action, SANE_Status status, SANE_Int info)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.queued[{n, action}].push_back({status, info});
}

void fakedriver_set_result(int n, SANE_Action action, SANE_Status status, SANE_Int info)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.persistent[{n, action}] = {status, info};
}

void fakedriver_clear_result(int n, SANE_Action action)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.persistent.erase({n, action});
    s.queued.erase({n, action});
}

void fakedriver_queue_inexact(int n, const void* value, size_t size)
{
    if (!value)
        return;
    driver_state& s = state();
    guard lock(s.lock);
    const auto* first = static_cast<const unsigned char*>(value);
    s.inexact[n].emplace_back(first, first + size);
}

void fakedriver_active_when_string(int target, int n, const char* value)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.rules.push_back({target, n, true, text_in(s, value), 0});
    apply_rules_for_target(s, target);
}

void fakedriver_active_when_word(int target, int n, SANE_Word value)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.rules.push_back({target, n, false, std::string(), value});
    apply_rules_for_target(s, target);
}

void fakedriver_set_hook(fakedriver_hook hook, void* context)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.hook = hook;
    s.hook_context = context;
}

void fakedriver_queue_status(enum fakedriver_entry entry, SANE_Status status)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.entry_status[entry].push_back(status);
}

// ---- devices and scanning --------------------------------------------------------------

void fakedriver_add_device(const char* name, const char* vendor, const char* model,
                           const char* type)
{
    driver_state& s = state();
    guard lock(s.lock);
    auto d = std::make_unique<device>();
    d->name = name ? name : "";
    d->vendor = vendor ? vendor : "";
    d->model = model ? model : "";
    d->type = type ? type : "";
    d->sane = {d->name.c_str(), d->vendor.c_str(), d->model.c_str(), d->type.c_str()};
    s.devices.push_back(std::move(d));
    s.device_list.clear();
    for (const auto& each : s.devices)
        s.device_list.push_back(&each->sane);
    s.device_list.push_back(nullptr);
}

void fakedriver_add_page(const SANE_Parameters* parameters, const void* data, size_t size)
{
    if (!parameters)
        return;
    driver_state& s = state();
    guard lock(s.lock);
    page p;
    p.parameters = *parameters;
    const auto* first = static_cast<const unsigned char*>(data);
    p.data = first ? bytes(first, first + size) : bytes(size, 0);
    s.pages.push_back(std::move(p));
}

void fakedriver_add_test_page(int width, int height)
{
    if (width <= 0 || height <= 0)
        return;
    SANE_Parameters parameters{};
    parameters.format = SANE_FRAME_GRAY;
    parameters.last_frame = SANE_TRUE;
    parameters.bytes_per_line = width;
    parameters.pixels_per_line = width;
    parameters.lines = height;
    parameters.depth = 8;
    bytes data(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            data[static_cast<std::size_t>(y) * width + x] = static_cast<unsigned char>((x + 8 * y) & 0xff);
    }
    fakedriver_add_page(&parameters, data.data(), data.size());
}

int fakedriver_pages_left(void)
{
    driver_state& s = state();
    guard lock(s.lock);
    return static_cast<int>(s.pages.size());
}

void fakedriver_set_read_chunk(int chunk)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.read_chunk = std::max(chunk, 0);
}

int fakedriver_is_open(void)
{
    driver_state& s = state();
    guard lock(s.lock);
    return s.open ? 1 : 0;
}

// ---- call log -----------------------------------------------------------------------------

int fakedriver_log_count(void)
{
    driver_state& s = state();
    guard lock(s.lock);
    return static_cast<int>(s.log.size());
}

int fakedriver_log_get(int index, fakedriver_call* call)
{
    driver_state& s = state();
    guard lock(s.lock);
    if (!call || index < 0 || index >= static_cast<int>(s.log.size()))
        return -1;
    const log_entry& e = s.log[static_cast<std::size_t>(index)];
    *call = e.call;
    call->value_size = e.value.size();
    call->value = e.value.empty() ? nullptr : e.value.data();
    return 0;
}

int fakedriver_log_find(int n, int action, int from)
{
    driver_state& s = state();
    guard lock(s.lock);
    for (std::size_t i = static_cast<std::size_t>(std::max(from, 0)); i < s.log.size(); ++i) {
        const fakedriver_call& c = s.log[i].call;
        if (c.entry == FAKEDRIVER_CONTROL_OPTION && c.option == n && (action < 0 || c.action == action))
            return static_cast<int>(i);
    }
    return -1;
}

int fakedriver_log_count_of(int n, int action)
{
    int count = 0;
    for (int at = fakedriver_log_find(n, action, 0); at >= 0; at = fakedriver_log_find(n, action, at + 1))
        ++count;
    return count;
}

void fakedriver_log_clear(void)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.log.clear();
}

// ---- SANE entry points ------------------------------------------------------------------------

SANE_Status sane_fake_init(SANE_Int* version_code, SANE_Auth_Callback)
{
    driver_state& s = state();
    guard lock(s.lock);
    // A host that loads the driver as a real one finds the ready-made scanner.
    if (!s.reset_once && s.options.size() <= 1 && s.devices.empty() && s.privates.empty())
        fakedriver_load_default_script();
    SANE_Status status = SANE_STATUS_GOOD;
    take_entry_status(s, FAKEDRIVER_INIT, &status);
    if (status == SANE_STATUS_GOOD && version_code)
        *version_code = SANE_VERSION_CODE(SANE_CURRENT_MAJOR, 0, 1);
    append_log(s, FAKEDRIVER_INIT, status);
    return status;
}

void sane_fake_exit(void)
{
    driver_state& s = state();
    guard lock(s.lock);
    s.open = false;
    s.scanning = false;
    append_log(s, FAKEDRIVER_EXIT, SANE_STATUS_GOOD);
}

SANE_Status sane_fake_get_devices(const SANE_Device*** device_list, SANE_Bool)
{
    driver_state& s = state();
    guard lock(s.lock);
    SANE_Status status = SANE_STATUS_GOOD;
    if (!take_entry_status(s, FAKEDRIVER_GET_DEVICES, &status) && !device_list)
        status = SANE_STATUS_INVAL;
    if (status == SANE_STATUS_GOOD)
        *device_list = s.device_list.data();
    append_log(s, FAKEDRIVER_GET_DEVICES, status);
    return status;
}

SANE_Status sane_fake_open(SANE_String_Const name, SANE_Handle* handle)
{
    driver_state& s = state();
    guard lock(s.lock);
    SANE_Status status = SANE_STATUS_GOOD;
    if (!take_entry_status(s, FAKEDRIVER_OPEN, &status)) {
        const bool any = !name || !*name;
        const bool known = std::any_of(s.devices.begin(), s.devices.end(),
                                       [&](const auto& d) { return any || d->name == name; });
        if (!handle || s.devices.empty() || !known)
            status = SANE_STATUS_INVAL;
        else if (s.open)
            status = SANE_STATUS_DEVICE_BUSY;
    }
    if (status == SANE_STATUS_GOOD) {
        s.open = true;
        *handle = &g_handle_tag;
    }
    append_log(s, FAKEDRIVER_OPEN, status);
    return status;
}

void sane_fake_close(SANE_Handle handle)
{
    driver_state& s = state();
    guard lock(s.lock);
    if (valid_handle(s, handle)) {
        s.open = false;
        s.scanning = false;
    }
    append_log(s, FAKEDRIVER_CLOSE, SANE_STATUS_GOOD);
}

const SANE_Option_Descriptor* sane_fake_get_option_descriptor(SANE_Handle handle, SANE_Int n)
{
    driver_state& s = state();
    guard lock(s.lock);
    if (!valid_handle(s, handle))
        return nullptr;
    const option* o = find_option(s, n);
    return o && !o->hidden ? &o->descriptor : nullptr;
}

SANE_Status sane_fake_control_option(SANE_Handle handle, SANE_Int n, SANE_Action action,
                                     void* value, SANE_Int* info)
{
    driver_state& s = state();
    guard lock(s.lock);

    log_entry entry;
    entry.call.entry = FAKEDRIVER_CONTROL_OPTION;
    entry.call.option = n;
    entry.call.action = action;
    entry.call.info_given = info != nullptr;
    entry.call.value_given = value != nullptr;
    const bool is_set = action == SANE_ACTION_SET_VALUE;
    if (is_set)
        entry.value = sent_bytes(s, n, value);

    SANE_Int answer = 0;
    SANE_Status status = SANE_STATUS_GOOD;
    result scripted{SANE_STATUS_GOOD, 0};
    if (!valid_handle(s, handle)) {
        status = SANE_STATUS_INVAL;
    } else if (take_result(s, n, action, &scripted) && scripted.status != SANE_STATUS_GOOD) {
        status = scripted.status;
        answer = scripted.info;
    } else {
        if (option* o = find_option(s, n)) {
            status = control_described(s, n, *o, action, value, &answer);
        } else {
            auto p = s.privates.find(n);
            status = p == s.privates.end() ? SANE_STATUS_INVAL : control_private(p->second, action, value);
        }
        if (status == SANE_STATUS_GOOD) {
            answer |= scripted.info;
            if (s.hook)
                s.hook(s.hook_context, n, action, value, &answer);
        }
    }

    if (!is_set && status == SANE_STATUS_GOOD)
        entry.value = got_bytes(s, n, action, value);
    if (info)
        *info = answer;
    entry.call.status = status;
    entry.call.info = answer;
    s.log.push_back(std::move(entry));
    return status;
}

SANE_Status sane_fake_get_parameters(SANE_Handle handle, SANE_Parameters* params)
{
    driver_state& s = state();
    guard lock(s.lock);
    SANE_Status status = SANE_STATUS_GOOD;
    if (!take_entry_status(s, FAKEDRIVER_GET_PARAMETERS, &status) &&
        (!valid_handle(s, handle) || !params))
        status = SANE_STATUS_INVAL;
    if (status == SANE_STATUS_GOOD) {
        if (s.scanning)
            *params = s.current.parameters;
        else if (!s.pages.empty())
            *params = s.pages.front().parameters;
        else
            *params = SANE_Parameters{};
    }
    append_log(s, FAKEDRIVER_GET_PARAMETERS, status);
    return status;
}

SANE_Status sane_fake_start(SANE_Handle handle)
{
    driver_state& s = state();
    guard lock(s.lock);
    SANE_Status status = SANE_STATUS_GOOD;
    if (!take_entry_status(s, FAKEDRIVER_START, &status)) {
        if (!valid_handle(s, handle))
            status = SANE_STATUS_INVAL;
        else if (s.pages.empty())
            status = SANE_STATUS_NO_DOCS;
    }
    if (status == SANE_STATUS_GOOD) {
        s.current = std::move(s.pages.front());
        s.pages.pop_front();
        s.read_position = 0;
        s.scanning = true;
    }
    append_log(s, FAKEDRIVER_START, status);
    return status;
}

SANE_Status sane_fake_read(SANE_Handle handle, SANE_Byte* data, SANE_Int max_length,
                           SANE_Int* length)
{
    driver_state& s = state();
    guard lock(s.lock);
    if (length)
        *length = 0;
    SANE_Status status = SANE_STATUS_GOOD;
    if (!take_entry_status(s, FAKEDRIVER_READ, &status)) {
        if (!valid_handle(s, handle) || !data || !length || max_length < 0)
            status = SANE_STATUS_INVAL;
        else if (!s.scanning)
            status = SANE_STATUS_CANCELLED;
        else if (s.read_position >= s.current.data.size()) {
            status = SANE_STATUS_EOF;
            s.scanning = false;
        } else {
            std::size_t piece = std::min(static_cast<std::size_t>(max_length),
                                         s.current.data.size() - s.read_position);
            if (s.read_chunk > 0)
                piece = std::min(piece, static_cast<std::size_t>(s.read_chunk));
            std::memcpy(data, s.current.data.data() + s.read_position, piece);
            s.read_position += piece;
            *length = static_cast<SANE_Int>(piece);
        }
    }
    append_log(s, FAKEDRIVER_READ, status);
    return status;
}

void sane_fake_cancel(SANE_Handle handle)
{
    driver_state& s = state();
    guard lock(s.lock);
    if (valid_handle(s, handle))
        s.scanning = false;
    append_log(s, FAKEDRIVER_CANCEL, SANE_STATUS_GOOD);
}

SANE_Status sane_fake_set_io_mode(SANE_Handle handle, SANE_Bool non_blocking)
{
    driver_state& s = state();
    guard lock(s.lock);
    SANE_Status status = SANE_STATUS_GOOD;
    if (!valid_handle(s, handle))
        status = SANE_STATUS_INVAL;
    else if (non_blocking)
        status = SANE_STATUS_UNSUPPORTED;
    append_log(s, FAKEDRIVER_SET_IO_MODE, status);
    return status;
}

SANE_Status sane_fake_get_select_fd(SANE_Handle handle, SANE_Int* fd)
{
    driver_state& s = state();
    guard lock(s.lock);
    const SANE_Status status = valid_handle(s, handle) && fd ? SANE_STATUS_UNSUPPORTED : SANE_STATUS_INVAL;
    append_log(s, FAKEDRIVER_GET_SELECT_FD, status);
    return status;
}

SANE_String_Const sane_fake_strstatus(SANE_Status status)
{
    switch (status) {
    case SANE_STATUS_GOOD: return "Success";
    case SANE_STATUS_UNSUPPORTED: return "Operation not supported";
    case SANE_STATUS_CANCELLED: return "Operation was cancelled";
    case SANE_STATUS_DEVICE_BUSY: return "Device busy";
    case SANE_STATUS_INVAL: return "Invalid argument";
    case SANE_STATUS_EOF: return "End of file reached";
    case SANE_STATUS_JAMMED: return "Document feeder jammed";
    case SANE_STATUS_NO_DOCS: return "Document feeder out of documents";
    case SANE_STATUS_COVER_OPEN: return "Scanner cover is open";
    case SANE_STATUS_IO_ERROR: return "Error during device I/O";
    case SANE_STATUS_NO_MEM: return "Out of memory";
    case SANE_STATUS_ACCESS_DENIED: return "Access to resource has been denied";
    default: return "Unknown status";
    }
}

} // extern "C"
