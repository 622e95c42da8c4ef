#include <zr/InlineString.h>

#include <string>

#include <gtest/gtest.h>

TEST(InlineString, CopiesMovesAndPartsOfItselfKeepTheText)
{
    for (const char* content : {"", "abc", "longer than the inline area"})
    {
        zr::InlineString<8> text(content);
        zr::InlineString<8> copy = text;
        zr::InlineString<8> moved = std::move(text);
        EXPECT_STREQ(text.c_str(), ""); // NOLINT: moved-from is empty
        text = zr::InlineString<8>("another text on the heap");
        text = std::move(moved);
        text = *&text;
        EXPECT_EQ(text.view(), copy.view());
        text.append(text.view());
        EXPECT_EQ(text.c_str(), std::string(content) + content);
        text.assign(text.view().substr(text.size() / 2));
        EXPECT_STREQ(text.c_str(), content);
    }
}
