// gb::sane_config_schm: hex value texts, defaults, setting sessions, change
// detection, version upgrades and saving.
#include "config_test_support.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

using cfgtest::allConfigs;
using cfgtest::Ref;
using Scheme = gb::sane_config_schm;

namespace {

Ref<Scheme> newScheme()
{
    return Ref<Scheme>(new Scheme);
}

std::string word(int32_t value)
{
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
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
    EXPECT_EQ(Scheme::from_hex_letter("0AFF00", 6), std::string("\x0a\xff\x00", 3));
    EXPECT_EQ(Scheme::from_hex_letter("0a1G33", 6), "\x0a");
    EXPECT_EQ(Scheme::from_hex_letter("ABC", 3), "\xab");
    EXPECT_EQ(Scheme::from_hex_letter("A", 1), "");
    EXPECT_EQ(Scheme::from_hex_letter(nullptr, 4), "");
    // The length bounds the read, whatever follows.
    EXPECT_EQ(Scheme::from_hex_letter("ABCD", 2), "\xab");

    unsigned char nibble = 0xA0;
    EXPECT_TRUE(Scheme::hex('f', &nibble));
    EXPECT_EQ(nibble, 0xAF);
    EXPECT_FALSE(Scheme::hex('g', &nibble));
    EXPECT_EQ(nibble, 0xAF);
    unsigned char byte = 0;
    EXPECT_TRUE(Scheme::hex_char("7e", &byte));
    EXPECT_EQ(byte, 0x7E);
    EXPECT_FALSE(Scheme::hex_char("7", &byte));
    EXPECT_FALSE(Scheme::hex_char("x7", &byte));
}

TEST(SchemeHex, OptionDataSuffixOnlyAtTheEnd)
{
    std::string name = "gamma_data";
    EXPECT_TRUE(Scheme::is_option_data(name));
    EXPECT_EQ(name, "gamma");
    name = "a_data_b_data";
    EXPECT_FALSE(Scheme::is_option_data(name));
    EXPECT_EQ(name, "a_data_b_data");
    name = "gamma";
    EXPECT_FALSE(Scheme::is_option_data(name));
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

TEST(SchemeValues, ReadsFallBackToTheDefaults)
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
}

TEST(SchemeValues, RemoveConfigLeavesTheData)
{
    auto s = newScheme();
    put(*s, "gamma", "\x01");
    put(*s, "gamma", "\x02", true);
    put(*s, "mode", "\x03");
    s->remove_config("gamma");
    EXPECT_EQ(plainText(*s), R"({"gamma_data":"02","mode":"03"})");
    s->remove_config(nullptr);
    EXPECT_EQ(plainText(*s), "{}");
}

TEST(SchemeValues, WalkDecodesEveryMember)
{
    auto s = newScheme();
    put(*s, "a", std::string("\x00\x01", 2));
    put(*s, "a", "xyz", true);
    s->to_text_stream(false, true);
    const auto all = allConfigs(*s);
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all.at("a"), std::string("\x00\x01", 2));
    EXPECT_EQ(all.at("a_data"), "xyz");
    EXPECT_EQ(all.at("ver"), ""); // not hex text
}

TEST(SchemeText, FreshSchemeAndVersionStamp)
{
    auto s = newScheme();
    EXPECT_EQ(s->to_text_stream(false, false), "{}");
    EXPECT_EQ(s->get_version(), "");
    EXPECT_EQ(s->to_text_stream(false, true), R"({"ver":"4.52"})");
    EXPECT_EQ(s->get_version(), "4.52");
    const std::string stamped = R"({"ver":"4.52"})";
    EXPECT_EQ(s->to_text_stream(true, true), gb::base64().encode(stamped.data(), stamped.size()));
}

TEST(SchemeText, RoundTripThroughBase64)
{
    auto s = newScheme();
    put(*s, "resolution", word(300));
    put(*s, "crop", std::string("\x00\xff\x10", 3), true);
    const std::string text = s->to_text_stream();

    auto back = newScheme();
    ASSERT_TRUE(back->load_from_mem(text.c_str()));
    EXPECT_TRUE(back->is_equal(s.get()));
    EXPECT_EQ(allConfigs(*back), allConfigs(*s));
    EXPECT_EQ(back->get_version(), "4.52");
}

TEST(SchemeText, BadTextLeavesNoValues)
{
    auto s = newScheme();
    put(*s, "a", "\x01");
    EXPECT_FALSE(s->load_from_mem("not json", false));
    std::string name;
    std::string value;
    EXPECT_FALSE(s->get_config("a", value));
    EXPECT_FALSE(s->first_config(name, value));
    EXPECT_EQ(s->to_text_stream(), "");
    EXPECT_FALSE(s->load_from_mem("@@@###", true));
    EXPECT_FALSE(s->load_from_mem(nullptr));
    // Only objects hold values.
    EXPECT_FALSE(s->load_from_mem("[1,2]", false));
    const std::string deep = std::string(5000, '{') + std::string(5000, '}');
    EXPECT_FALSE(s->load_from_mem(deep.c_str(), false));

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
    EXPECT_EQ(dup->default_value("mode"), s->default_value("mode"));
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
    EXPECT_FALSE(s->has_changed());

    s->begin_setting();
    put(*s, "a", "\x05");
    EXPECT_TRUE(s->has_changed());
    s->end_setting(false);
    EXPECT_EQ(plainText(*s), R"({"a":"05"})");
    // Outside a session nothing reads as changed.
    put(*s, "c", "\x07");
    EXPECT_FALSE(s->has_changed());
    s->end_setting(true);
    EXPECT_EQ(plainText(*s), R"({"a":"05","c":"07"})");
}

TEST(SchemeSession, RestoreStartsFromDefaultsAndRemovalIsAChange)
{
    auto s = newScheme();
    put(*s, "a", "\x01");
    s->begin_setting(true);
    EXPECT_EQ(plainText(*s), "{}");
    EXPECT_TRUE(s->has_changed());
    s->end_setting(true);
    EXPECT_EQ(plainText(*s), R"({"a":"01"})");

    s->begin_setting();
    s->remove_config("a");
    EXPECT_TRUE(s->has_changed());
    put(*s, "a", "\x01");
    EXPECT_FALSE(s->has_changed());
    s->end_setting(false);
}

TEST(SchemeSession, LoadingEndsTheSessionWithoutBackup)
{
    auto s = newScheme();
    put(*s, "a", "\x01");
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

std::string oldValues(const std::string& ver)
{
    std::string text = "{\"" + hexKey("Resolution") + "\":\"2C010000\",\"" + hexKey("Mode")
        + "\":\"01\",\"" + hexKey("Old") + "\":\"02\",\"" + hexKey("Gone") + "\":\"03\"";
    if (!ver.empty())
        text += ",\"ver\":\"" + ver + "\"";
    return text + "}";
}

class SchemeUpdate : public ::testing::Test
{
protected:
    // Loads a scheme of the given version from a file of its own and runs the
    // upgrade; the file's text afterwards shows whether it was saved.
    Ref<Scheme> upgrade(const std::string& ver)
    {
        const std::string path = m_dir.file("s" + ver + ".schm");
        const std::string text = gb::base64().encode(oldValues(ver).data(), oldValues(ver).size());
        cfgtest::writeFile(path, text);
        Ref<Scheme> s(new Scheme);
        EXPECT_TRUE(s->load_from_file(path.c_str()));
        setDefault(*s, 1, "resolution", word(200));
        setDefault(*s, 2, "mode", "\x00");
        setDefault(*s, 3, "old", "\x00");
        m_discarded.clear();
        m_calls = 0;
        s->update(discardOld, &m_calls, titleToName, &m_discarded);
        m_saved = cfgtest::readFile(path) != text;
        return s;
    }

    cfgtest::TempDir m_dir;
    std::string m_discarded;
    int m_calls = 0;
    bool m_saved = false;
};

} // namespace

TEST_F(SchemeUpdate, NoVersionUpgradesKeysAndCleansUp)
{
    auto s = upgrade("");
    std::string value;
    EXPECT_TRUE(s->get_config("resolution", value));
    EXPECT_EQ(value, word(300));
    const auto all = allConfigs(*s);
    EXPECT_EQ(all.count("mode"), 1u);
    EXPECT_EQ(all.count("old"), 0u); // discarded by the predicate
    EXPECT_EQ(all.count(hexKey("Gone")), 0u); // no option of that name
    EXPECT_EQ(m_discarded, "old\r\n" + hexKey("Gone") + "\r\n");
    EXPECT_EQ(m_calls, 3);
    EXPECT_EQ(s->get_version(), "4.52");
    EXPECT_TRUE(m_saved);
}

TEST_F(SchemeUpdate, UpTo429OnlyKeysAreUpgraded)
{
    auto s = upgrade("4.29");
    const auto all = allConfigs(*s);
    EXPECT_EQ(all.count("resolution"), 1u);
    EXPECT_EQ(all.count("old"), 1u);
    EXPECT_EQ(all.count(hexKey("Gone")), 1u); // no title match, key kept
    EXPECT_EQ(m_calls, 0);
    EXPECT_EQ(m_discarded, "");
    EXPECT_EQ(s->get_version(), "4.52");
    EXPECT_TRUE(m_saved);
}

TEST_F(SchemeUpdate, From430OnNothingChangesButTheStamp)
{
    for (const char* ver : {"4.30", "5.0"}) {
        auto s = upgrade(ver);
        const auto all = allConfigs(*s);
        EXPECT_EQ(all.count(hexKey("Resolution")), 1u) << ver;
        EXPECT_EQ(all.count("resolution"), 0u) << ver;
        EXPECT_EQ(s->get_version(), "4.52") << ver;
        EXPECT_FALSE(m_saved) << ver; // stamped in memory only
    }
}

TEST(SchemeUpdateEdge, WithoutValuesNothingHappens)
{
    auto s = newScheme();
    s->load_from_mem("broken", false);
    s->update(nullptr, nullptr, titleToName);
    EXPECT_EQ(s->get_version(), "");
}
