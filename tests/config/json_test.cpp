// gb::json through its public operations, including the deliberate quirks of
// the configuration format.
#include "config_test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using cfgtest::Ref;

namespace {

Ref<gb::json> doc(const char* text)
{
    return Ref<gb::json>(new gb::json(text));
}

} // namespace

TEST(JsonDocument, ParsesPrintsAndCounts)
{
    auto d = doc(R"({"a":1,"b":"x","c":[1,2],"d":{"e":null}})");
    EXPECT_EQ(d->count(), 4);
    EXPECT_TRUE(d->is_object());
    EXPECT_EQ(d->to_string(false), R"({"a":1,"b":"x","c":[1,2],"d":{"e":null}})");
    EXPECT_NE(d->to_string(true).find('\n'), std::string::npos);

    EXPECT_FALSE(d->attach_text("{\"a\":"));
    EXPECT_EQ(d->count(), 0);
    EXPECT_EQ(d->to_string(false), "");
    EXPECT_FALSE(d->attach_text(nullptr));
    EXPECT_TRUE(d->attach_text("[1,2,3]"));
    EXPECT_EQ(d->count(), 3);
    EXPECT_FALSE(d->is_object());
}

TEST(JsonDocument, ReadsCheckTheNodeType)
{
    auto d = doc(R"({"t":true,"f":false,"n":7,"x":2.5,"s":"text","z":null,"o":{"a":[1]}})");
    bool b = false;
    double f = 0;
    EXPECT_TRUE(d->get_value("t", b) && b);
    EXPECT_TRUE(d->get_value("x", f));
    EXPECT_DOUBLE_EQ(f, 2.5);

    // Wrong type or missing key: false, output untouched.
    int i = 42;
    std::string s = "keep";
    EXPECT_FALSE(d->get_value("s", i));
    EXPECT_FALSE(d->get_value("n", s));
    EXPECT_FALSE(d->get_value("missing", i));
    EXPECT_FALSE(d->get_value("", i));
    EXPECT_FALSE(d->get_value(nullptr, i));
    EXPECT_FALSE(d->get_value_as_string("nope", s, true));
    EXPECT_EQ(i, 42);
    EXPECT_EQ(s, "keep");
    EXPECT_TRUE(d->get_value("s", s) && s == "text");

    const struct {
        const char* key;
        bool integer;
        const char* text;
    } rows[] = {{"n", false, "7.000000"}, {"n", true, "7"},     {"t", false, "true"},
                {"f", false, "false"},    {"z", false, "null"}, {"s", true, "text"},
                {"o", true, R"({"a":[1]})"}};
    for (const auto& row : rows) {
        EXPECT_TRUE(d->get_value_as_string(row.key, s, row.integer)) << row.key;
        EXPECT_EQ(s, row.text) << row.key;
    }
}

TEST(JsonDocument, DoubleWriteKeepsTheIntPart)
{
    auto d = doc("{}");
    int i = -1;
    double f = 0;
    ASSERT_TRUE(d->set_value("k", 1.5));
    EXPECT_TRUE(d->get_value("k", i) && i == 0);
    EXPECT_TRUE(d->get_value("k", f) && f == 1.5);
    ASSERT_TRUE(d->set_value("k", 7));
    ASSERT_TRUE(d->set_value("k", 2.25));
    EXPECT_TRUE(d->get_value("k", i) && i == 7);

    // A string member turned into a number starts with the int part 0 too.
    ASSERT_TRUE(d->set_value("s", "text"));
    ASSERT_TRUE(d->set_value("s", 3.5));
    EXPECT_TRUE(d->get_value("s", i) && i == 0);
    ASSERT_TRUE(d->set_value("s", true));
    EXPECT_EQ(d->to_string(false), R"({"k":2.25,"s":true})");
}

TEST(JsonDocument, SeparatorSwallowsTheFollowingCharacter)
{
    auto d = doc(R"({"x":{"z":1,"yz":2},"a":5})");
    const std::pair<const char*, int> rows[] = {{"x/yz", 1}, {"a/b", 5}, {"x//z", 1}};
    for (const auto& [path, expected] : rows) {
        int i = 0;
        EXPECT_TRUE(d->get_value(path, i) && i == expected) << path;
    }
    EXPECT_FALSE(d->set_value("a/xm", 2)) << "scalars have no members";

    auto made = doc(nullptr);
    ASSERT_TRUE(made->set_value("a/xb/yc", 5));
    EXPECT_EQ(made->to_string(false), R"({"a":{"b":{"c":5}}})");
}

TEST(JsonDocument, SettingADocumentMovesItAndDropsTheMembersAfter)
{
    const struct {
        const char* start;
        const char* key;
        const char* value;
        const char* result;
    } rows[] = {
        {R"({"a":1,"b":2,"c":3})", "a", R"({"new":true})", R"({"a":{"new":true}})"},
        {R"({"a":1,"b":2,"c":3})", "b", "[1]", R"({"a":1,"b":[1]})"},
        // A new member is named with the whole key text.
        {"{}", "p/xq", "{}", R"({"p":{"p/xq":{}}})"},
        {"[1]", nullptr, R"({"m":1})", R"([1,{"m":1}])"},
    };
    for (const auto& row : rows) {
        auto d = doc(row.start);
        auto val = doc(row.value);
        ASSERT_TRUE(d->set_value(row.key, val.get())) << row.start;
        EXPECT_EQ(d->to_string(false), row.result);
        EXPECT_EQ(val->count(), 0);
        EXPECT_FALSE(d->set_value("k", val.get())) << "an emptied document moves nothing";
        EXPECT_FALSE(d->set_value("k", d.get()));
        // The list stays usable for appends.
        if (d->is_object()) {
            EXPECT_TRUE(d->set_value("d", 4));
        }
    }
}

TEST(JsonDocument, NullKeyAppendsOnlyToArrays)
{
    auto obj = doc(R"({"a":1})");
    EXPECT_FALSE(obj->set_value(nullptr, 5));
    EXPECT_EQ(obj->to_string(false), R"({"a":1})");

    auto arr = doc("[1]");
    EXPECT_TRUE(arr->set_value(nullptr, 5));
    EXPECT_TRUE(arr->set_value(nullptr, "s"));
    EXPECT_TRUE(arr->set_value(nullptr, false));
    EXPECT_EQ(arr->to_string(false), R"([1,5,"s",false])");
    // An emptied array document gets a new array root.
    ASSERT_TRUE(arr->create_empty(true));
    arr->clear();
    EXPECT_TRUE(arr->set_value(nullptr, 9));
    EXPECT_EQ(arr->to_string(false), "[9]");
}

TEST(JsonDocument, WalkReportsTextsAndNames)
{
    auto d = doc(R"({"a":2,"b":"x","c":{"d":1}})");
    std::vector<std::string> seen;
    std::string value;
    std::string name;
    for (bool more = d->first_child(value, &name); more; more = d->next_child(value, &name))
        seen.push_back(name + "=" + value);
    EXPECT_EQ(seen, (std::vector<std::string>{"a=2.000000", "b=x", R"(c={"d":1})"}));
    EXPECT_EQ(value, "");
    EXPECT_FALSE(d->next_child(value));
    value = "x";
    EXPECT_FALSE(doc(nullptr)->first_child(value));
    EXPECT_EQ(value, "");
}

// Removal keeps a walk going; a replacement that drops the current member ends it.
TEST(JsonDocument, WalkSurvivesRemoval)
{
    const struct {
        std::vector<const char*> removeAfter[4]; // removed after the nth member was reported
        const char* seen;
        const char* left;
    } rows[] = {
        {{{"a"}, {}, {"c"}, {}}, "a b c d ", R"({"b":2,"d":4})"},
        {{{"a"}, {"b"}, {"c"}, {"d"}}, "a b c d ", "{}"},
        {{{"a", "b"}, {}, {}, {}}, "a c d ", R"({"c":3,"d":4})"},
    };
    for (const auto& row : rows) {
        auto d = doc(R"({"a":1,"b":2,"c":3,"d":4})");
        std::string seen;
        std::string value;
        std::string name;
        int step = 0;
        for (bool more = d->first_child(value, &name); more; more = d->next_child(value, &name)) {
            seen += name + " ";
            ASSERT_LT(step, 4);
            for (const char* key : row.removeAfter[step++])
                EXPECT_TRUE(d->remove(key)) << key;
        }
        EXPECT_EQ(seen, row.seen);
        EXPECT_EQ(d->to_string(false), row.left);
    }

    auto d = doc(R"({"a":1,"b":2,"c":3})");
    auto val = doc("{}");
    std::string value;
    ASSERT_TRUE(d->first_child(value));
    ASSERT_TRUE(d->next_child(value)); // at b, which goes with a
    ASSERT_TRUE(d->set_value("a", val.get()));
    EXPECT_FALSE(d->next_child(value));
    EXPECT_FALSE(d->remove("zz"));
    EXPECT_FALSE(doc(nullptr)->remove("a"));
}

TEST(JsonDocument, ChangeKeyRenamesInPlace)
{
    auto d = doc(R"({"a":1,"bb":2})");
    EXPECT_TRUE(d->change_key("a", "longer_name"));
    EXPECT_TRUE(d->change_key("bb", "c"));
    EXPECT_EQ(d->to_string(false), R"({"longer_name":1,"c":2})");

    // No check for a key in use: two members, lookups find the first.
    EXPECT_TRUE(d->change_key("c", "longer_name"));
    EXPECT_EQ(d->to_string(false), R"({"longer_name":1,"longer_name":2})");
    int i = 0;
    EXPECT_TRUE(d->get_value("longer_name", i) && i == 1);

    EXPECT_FALSE(d->change_key("missing", "x"));
    EXPECT_FALSE(d->change_key("", "x"));
    EXPECT_FALSE(d->change_key("longer_name", ""));
    EXPECT_FALSE(d->change_key(nullptr, "x"));
    EXPECT_FALSE(doc(nullptr)->change_key("a", "b"));
}

TEST(JsonDocument, ArraysReadAsTextsAndSubDocumentsAsCopies)
{
    auto d = doc(R"({"arr":[1.9,"s",true,{"k":1}],"n":1,"o":{"k":1}})");
    std::vector<std::string> items{"stale"};
    ASSERT_TRUE(d->get_as_array("arr", items));
    ASSERT_EQ(items.size(), 4u);
    EXPECT_EQ(items[0] + items[1] + items[2], "1strue");
    EXPECT_EQ(doc(items[3].c_str())->to_string(false), R"({"k":1})");
    EXPECT_FALSE(d->get_as_array("n", items));
    EXPECT_TRUE(items.empty());

    gb::json* sub = nullptr;
    ASSERT_TRUE(d->get_value("o", sub));
    Ref<gb::json> owned(sub);
    EXPECT_EQ(owned->to_string(false), R"({"k":1})");
    owned->set_value("k", 2);
    EXPECT_EQ(d->to_string(false), R"({"arr":[1.9,"s",true,{"k":1}],"n":1,"o":{"k":1}})");
    gb::json* text = nullptr;
    ASSERT_TRUE(d->get_value("arr", text));
    EXPECT_EQ(Ref<gb::json>(text)->to_string(false), R"([1.9,"s",true,{"k":1}])");
    gb::json* none = nullptr;
    EXPECT_FALSE(d->get_value("zz", none));
    EXPECT_EQ(none, nullptr);
}

TEST(JsonDocument, HostileInputFailsCleanly)
{
    auto d = doc("{}");
    // Past cJSON's nesting limit the parse fails; nothing is left behind.
    EXPECT_FALSE(d->attach_text((std::string(5000, '[') + std::string(5000, ']')).c_str()));
    EXPECT_EQ(d->count(), 0);
    std::string deepObj;
    for (int i = 0; i < 5000; ++i)
        deepObj += "{\"a\":";
    EXPECT_FALSE(d->attach_text((deepObj + "1" + std::string(5000, '}')).c_str()));

    // Absurdly deep paths are refused instead of building deep trees.
    std::string path;
    for (int i = 0; i < 10000; ++i)
        path += "a/x";
    EXPECT_FALSE(d->set_value(path.c_str(), 1));
    int i = 0;
    EXPECT_FALSE(d->get_value(path.c_str(), i));

    EXPECT_FALSE(d->attach_text("{\"a\":\"\xff\xfe\"")); // truncated
    EXPECT_TRUE(d->attach_text("{\"\xff\xfe\":\"\xc3\"}"));
    std::string value;
    std::string name;
    ASSERT_TRUE(d->first_child(value, &name));
    EXPECT_EQ(name, "\xff\xfe");
}
