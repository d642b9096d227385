#include <gtest/gtest.h>

#include "postwright/Lexical/ParameterDictionary.hpp"

using namespace postwright;

namespace {
std::vector<std::u16string> keysOf(const ParameterDictionary& info) {
    return info.keys();
}
}  // namespace

TEST(ParameterDictionary, KeepsInsertionOrderAndReplacesInPlace) {
    ParameterDictionary info{{u"@type", u"text"}, {u"b", u"1"}};
    info.set(u"a", 7LL);
    info.set(u"b", u"2");
    EXPECT_EQ(keysOf(info), (std::vector<std::u16string>{u"@type", u"b", u"a"}));
    EXPECT_EQ(info.text(u"b"), u"2");
    EXPECT_EQ(info.integer(u"a"), 7);
    EXPECT_EQ(info.text(u"a"), std::nullopt) << "typed getters answer only for their kind";
    EXPECT_EQ(info.sections(u"a"), nullptr);
    EXPECT_TRUE(info.remove(u"@type"));
    EXPECT_FALSE(info.remove(u"@type"));
    EXPECT_EQ(keysOf(info), (std::vector<std::u16string>{u"b", u"a"}));

    ParameterDictionary reordered{{u"a", 7LL}, {u"b", u"2"}};
    EXPECT_EQ(info, reordered) << "equality ignores order";
    reordered.set(u"a", u"7");
    EXPECT_NE(info, reordered) << "but not the kind of value";
}

TEST(ParameterDictionary, StaysConsistentPastItsIndexThreshold) {
    ParameterDictionary info;
    for (int i = 0; i < 100; ++i) info.set(u"k" + decimalString(i), static_cast<long long>(i));
    for (int i = 0; i < 100; i += 2) EXPECT_TRUE(info.remove(u"k" + decimalString(i)));
    EXPECT_EQ(info.size(), 50u);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(info.contains(u"k" + decimalString(i)), i % 2 == 1) << i;
    info.set(u"k3", u"x");
    EXPECT_EQ(info.keys()[1], u"k3");
    EXPECT_EQ(info.text(u"k3"), u"x");
}
