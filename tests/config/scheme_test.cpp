// gb::sane_config_schm: hex value texts, defaults, setting sessions, change
// detection, version upgrades and saving.
#include "config_test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <set>
#include <string>

using cfgtest::allConfigs;
using cfgtest::Ref;
using cfgtest::word;
using Scheme = gb::sane_config_schm;

namespace {

Ref<Scheme> newScheme()
{
    return Ref<Scheme>(new Scheme);
}

void change(Scheme& s, const char* name, const std::string& data, bool extra = false)
{
    s.config_changed(name, data.data(), data.size(), extra);
}

void put(Scheme& s, const char* name, const std::string& data, bool extra = false)
{
    s.set_value(name, data.data(), data.size(), extra);
}

void setDefault(Scheme& s, int sn, const char* name, const std::string& data)
{
    s.set_default_value(sn, name, data.data(), data.size());
}

std::string plainText(Scheme& s)
{
    return s.to_text_stream(false, false);
}

} // namespace

TEST(SchemeHex, EncodesAndDecodes)
{
    EXPECT_EQ(Scheme::to_hex_letter("\x0a\xff\x00", 3), "0AFF00");
    EXPECT_EQ(Scheme::to_hex_letter("x", 0), "");
    const std::pair<const char*, std::string> rows[] = {
        {"0AFF00", std::string("\x0a\xff\x00", 3)},
        {"0a1G33", "\x0a"}, // stops at the first pair that is not hex
        {"ABC", "\xab"},
        {"A", ""},
    };
    for (const auto& [text, bytes] : rows)
        EXPECT_EQ(Scheme::from_hex_letter(text, strlen(text)), bytes) << text;
    EXPECT_EQ(Scheme::from_hex_letter("ABCD", 2), "\xab") << "the length bounds the read";
    EXPECT_EQ(Scheme::from_hex_letter(nullptr, 4), "");

    std::string name = "gamma_data";
    EXPECT_TRUE(Scheme::is_option_data(name));
    EXPECT_EQ(name, "gamma");
    name = "a_data_b_data";
    EXPECT_FALSE(Scheme::is_option_data(name));
    EXPECT_EQ(name, "a_data_b_data");
}

TEST(SchemeValues, OnlyDifferencesFromTheDefaultsAreKept)
{
    auto s = newScheme();
    setDefault(*s, 5, "resolution", word(200));
    EXPECT_EQ(s->default_value("resolution"), "C8000000");
    EXPECT_EQ(s->id_from_name("resolution"), 5);
    EXPECT_EQ(s->id_from_name("other"), -1);

    change(*s, "resolution", word(300));
    change(*s, "resolution", "table", true);
    EXPECT_EQ(plainText(*s), R"({"resolution":"2C010000","resolution_data":"7461626C65"})");
    // Back to the default: the value and its data go.
    change(*s, "resolution", word(200));
    EXPECT_EQ(plainText(*s), "{}");

    // By number; unknown numbers are ignored.
    const std::string v = word(600);
    s->config_changed(5, v.data(), v.size());
    s->config_changed(99, v.data(), v.size());
    EXPECT_EQ(plainText(*s), R"({"resolution":"58020000"})");

    // set_value stores even the default.
    put(*s, "resolution", word(200));
    EXPECT_EQ(plainText(*s), R"({"resolution":"C8000000"})");

    // A renumbered option keeps one name per number.
    setDefault(*s, 5, "dpi", word(1));
    EXPECT_EQ(s->id_from_name("dpi"), 5);
}

TEST(SchemeValues, ReadsFallBackToTheDefaultsAndRemovalKeepsTheData)
{
    auto s = newScheme();
    setDefault(*s, 1, "mode", "Gray");
    std::string value;
    EXPECT_TRUE(s->get_config("mode", value));
    EXPECT_EQ(value, "Gray");
    change(*s, "mode", "Color");
    EXPECT_TRUE(s->get_config("mode", value));
    EXPECT_EQ(value, "Color");
    value = "keep";
    EXPECT_FALSE(s->get_config("none", value));
    EXPECT_EQ(value, "keep");

    put(*s, "gamma", "\x01");
    put(*s, "gamma", "\x02", true);
    s->remove_config("gamma");
    EXPECT_EQ(plainText(*s), R"({"mode":"436F6C6F72","gamma_data":"02"})");
    s->remove_config(nullptr);
    EXPECT_EQ(plainText(*s), "{}");
}

TEST(SchemeText, RoundTripThroughBase64WithTheVersionStamp)
{
    auto s = newScheme();
    EXPECT_EQ(s->get_version(), "");
    EXPECT_EQ(s->to_text_stream(false, true), R"({"ver":"4.52"})");
    EXPECT_EQ(s->get_version(), "4.52");

    put(*s, "resolution", word(300));
    put(*s, "crop", std::string("\x00\xff\x10", 3), true);
    const std::string text = s->to_text_stream();
    EXPECT_EQ(gb::base64().decode(text.data(), text.size()), s->to_text_stream(false, true));
    auto back = newScheme();
    ASSERT_TRUE(back->load_from_mem(text.c_str()));
    EXPECT_TRUE(back->is_equal(s.get()));
    EXPECT_EQ(allConfigs(*back), (std::map<std::string, std::string>{
                                     {"resolution", word(300)},
                                     {"crop_data", std::string("\x00\xff\x10", 3)},
                                     {"ver", ""}})); // "ver" is no hex text
    EXPECT_EQ(back->get_version(), "4.52");
}

TEST(SchemeText, BadTextLeavesNoValues)
{
    auto s = newScheme();
    const std::pair<const char*, bool> rows[] = {
        {"not json", false}, {"@@@###", true}, {nullptr, true}, {"[1,2]", false}};
    for (const auto& [text, inBase64] : rows) {
        put(*s, "a", "\x01");
        EXPECT_FALSE(s->load_from_mem(text, inBase64)) << (text ? text : "null");
        std::string name;
        std::string value;
        EXPECT_FALSE(s->get_config("a", value));
        EXPECT_FALSE(s->first_config(name, value));
        EXPECT_EQ(s->to_text_stream(), "");
    }
    // Writes after a failed load start from an empty document.
    put(*s, "b", "\x02");
    EXPECT_EQ(plainText(*s), R"({"b":"02"})");
}

TEST(SchemeCompare, EqualityIgnoresOrderNameAndDefaults)
{
    auto a = newScheme();
    auto b = newScheme();
    put(*a, "x", "\x01");
    put(*a, "y", "\x02");
    put(*b, "y", "\x02");
    put(*b, "x", "\x01");
    a->set_scheme_name("A");
    setDefault(*b, 1, "x", "\x09");
    EXPECT_TRUE(a->is_equal(b.get()));
    EXPECT_TRUE(b->is_equal(a.get()));

    put(*b, "x", "\x03");
    EXPECT_FALSE(a->is_equal(b.get()));
    put(*b, "x", "\x01");
    put(*b, "z", "\x01");
    EXPECT_FALSE(a->is_equal(b.get()));
    EXPECT_FALSE(b->is_equal(a.get()));
    b->remove_config("z");
    // "ver" counts like any other member.
    a->to_text_stream(false, true);
    EXPECT_FALSE(a->is_equal(b.get()));
    EXPECT_FALSE(a->is_equal(nullptr));
}

TEST(SchemeCompare, CopyIsIndependent)
{
    auto s = newScheme();
    s->set_scheme_name("Office");
    setDefault(*s, 3, "mode", "Gray");
    put(*s, "mode", "Color");
    Ref<Scheme> dup(s->copy());
    EXPECT_EQ(dup->get_scheme_name(), "Office");
    EXPECT_TRUE(dup->is_equal(s.get()));
    EXPECT_EQ(dup->id_from_name("mode"), 3);
    put(*dup, "mode", "Lineart");
    std::string value;
    s->get_config("mode", value);
    EXPECT_EQ(value, "Color");

    auto other = newScheme();
    other->copy_default_value(s.get());
    EXPECT_EQ(other->id_from_name("mode"), 3);
    EXPECT_EQ(other->default_value("mode"), "47726179");
    EXPECT_EQ(plainText(*other), "{}");
    other->copy_default_value(nullptr);
    EXPECT_EQ(other->id_from_name("mode"), 3);
}

TEST(SchemeSession, CancelRestoresAndCommitKeeps)
{
    auto s = newScheme();
    put(*s, "a", "\x01");
    int items = -1;
    EXPECT_FALSE(s->has_changed(&items));
    EXPECT_EQ(items, 1);

    s->begin_setting();
    EXPECT_FALSE(s->has_changed());
    put(*s, "b", "\x02");
    EXPECT_TRUE(s->has_changed(&items));
    EXPECT_EQ(items, 2);
    s->end_setting(true);
    EXPECT_EQ(plainText(*s), R"({"a":"01"})");

    s->begin_setting();
    s->remove_config("a");
    EXPECT_TRUE(s->has_changed()) << "a removal is a change";
    put(*s, "a", "\x01");
    EXPECT_FALSE(s->has_changed()) << "the same values again are no change";
    put(*s, "a", "\x05");
    EXPECT_TRUE(s->has_changed());
    s->end_setting(false);
    EXPECT_EQ(plainText(*s), R"({"a":"05"})");
    // Outside a session nothing reads as changed, and cancelling does nothing.
    put(*s, "c", "\x07");
    EXPECT_FALSE(s->has_changed());
    s->end_setting(true);
    EXPECT_EQ(plainText(*s), R"({"a":"05","c":"07"})");

    // Restoring starts from the defaults.
    s->begin_setting(true);
    EXPECT_EQ(plainText(*s), "{}");
    EXPECT_TRUE(s->has_changed());
    s->end_setting(true);
    EXPECT_EQ(plainText(*s), R"({"a":"05","c":"07"})");

    // Loading ends the session without a backup.
    s->begin_setting();
    ASSERT_TRUE(s->load_from_mem(R"({"z":"09"})", false));
    EXPECT_FALSE(s->has_changed());
    s->end_setting(true);
    EXPECT_EQ(plainText(*s), R"({"z":"09"})");
}

TEST(SchemeFile, SavesAndLoads)
{
    cfgtest::TempDir dir;
    auto s = newScheme();
    put(*s, "resolution", word(300));
    const std::string path = dir.file("one.schm");
    ASSERT_TRUE(s->save_to(path.c_str()));
    EXPECT_EQ(cfgtest::readFile(path), s->to_text_stream());

    auto back = newScheme();
    ASSERT_TRUE(back->load_from_file(path.c_str()));
    EXPECT_TRUE(back->is_equal(s.get()));
    // A null or empty path goes back to the file the scheme came from.
    put(*back, "mode", "Color");
    ASSERT_TRUE(back->save_to(nullptr));
    ASSERT_TRUE(back->save_to(""));
    auto again = newScheme();
    ASSERT_TRUE(again->load_from_file(path.c_str()));
    EXPECT_TRUE(again->is_equal(back.get()));

    EXPECT_FALSE(newScheme()->save_to(nullptr));
    EXPECT_FALSE(s->save_to(dir.file("missing/dir/x").c_str()));
    EXPECT_FALSE(back->load_from_file(dir.file("absent").c_str()));
    EXPECT_FALSE(back->save_to(dir.file("x").c_str())); // no values after the failed load
}

namespace {

// Option titles of older releases and the names they have now.
const char* titleToName(const char* title)
{
    static const std::map<std::string, std::string> names = {
        {"Resolution", "resolution"}, {"Mode", "mode"}, {"Old", "old"}};
    const auto it = names.find(title);
    return it == names.end() ? "" : it->second.c_str();
}

bool discardOld(int sn, void* param)
{
    ++*static_cast<int*>(param);
    return sn == 3;
}

std::string hexKey(const char* title)
{
    return Scheme::to_hex_letter(title, strlen(title));
}

} // namespace

// Loads a scheme of each version from a file of its own, runs the upgrade and
// compares the keys kept, those reported as discarded, and whether it was saved.
TEST(SchemeUpdate, EachVersionUpgradesWhatItMust)
{
    const std::set<std::string> oldKeys = {hexKey("Resolution"), hexKey("Mode"), hexKey("Old"),
                                           hexKey("Gone"), "ver"};
    const struct {
        const char* ver;
        std::set<std::string> keys;
        std::string discarded;
        int discardCalls;
        bool saved;
    } rows[] = {
        // No version: titles become names; discarded and unknown ones go.
        {"", {"mode", "resolution", "ver"}, "old\r\n" + hexKey("Gone") + "\r\n", 3, true},
        // Up to 4.29 only the keys are upgraded; no title match keeps the key.
        {"4.29", {hexKey("Gone"), "mode", "old", "resolution", "ver"}, "", 0, true},
        // From 4.30 on only the stamp changes, in memory.
        {"4.30", oldKeys, "", 0, false},
        {"5.0", oldKeys, "", 0, false},
    };
    cfgtest::TempDir dir;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.ver);
        std::string old = "{\"" + hexKey("Resolution") + "\":\"2C010000\",\"" + hexKey("Mode") + "\":\"01\",\"" +
            hexKey("Old") + "\":\"02\",\"" + hexKey("Gone") + "\":\"03\"";
        if (*row.ver)
            old += std::string(",\"ver\":\"") + row.ver + "\"";
        const std::string text = cfgtest::base64Of(old + "}");
        const std::string path = dir.file(std::string("s") + row.ver + ".schm");
        cfgtest::writeFile(path, text);

        auto s = newScheme();
        ASSERT_TRUE(s->load_from_file(path.c_str()));
        setDefault(*s, 1, "resolution", word(200));
        setDefault(*s, 2, "mode", std::string(1, '\0'));
        setDefault(*s, 3, "old", std::string(1, '\0'));
        std::string discarded;
        int calls = 0;
        s->update(discardOld, &calls, titleToName, &discarded);

        std::set<std::string> keys;
        for (const auto& member : allConfigs(*s))
            keys.insert(member.first);
        EXPECT_EQ(keys, row.keys);
        EXPECT_EQ(discarded, row.discarded);
        EXPECT_EQ(calls, row.discardCalls);
        EXPECT_EQ(s->get_version(), "4.52");
        EXPECT_EQ(cfgtest::readFile(path) != text, row.saved);
        if (!*row.ver) {
            std::string value;
            EXPECT_TRUE(s->get_config("resolution", value));
            EXPECT_EQ(value, word(300));
        }
    }

    auto empty = newScheme();
    empty->load_from_mem("broken", false);
    empty->update(nullptr, nullptr, titleToName);
    EXPECT_EQ(empty->get_version(), "") << "without values nothing happens";
}
