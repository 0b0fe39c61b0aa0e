// SMIL text to tags, values and regions. Text handed to the scanner lies flush against an unmapped
// page and has no terminator. Whole documents are in slide_view_test.cpp.
#include <gtest/gtest.h>

#include <string>

#include "Parser/src/smil_internal.h"
#include "tests/support/bytes.h"
#include "tests/support/faults.h"
#include "tests/support/guarded.h"

namespace {

using namespace testing_support;

TEST(Smil, CursorStaysInsideTheText) {
    const Guarded guarded("a<b>c<d");
    ASSERT_EQ(SmilInitInput(guarded.chars(), guarded.length()), 1);
    EXPECT_EQ(SmilInitInput(nullptr, 3) + SmilInitInput("<b>", 0) + SmilInitInput("<b>", 4), 0);
    char* tag = SmilGetOneTag();
    EXPECT_STREQ(tag, "<b>");
    fnSC_Free(&tag);
    char c = 0;
    EXPECT_EQ(SmilGetChar(&c) - SmilGetChar(nullptr), 1);
    EXPECT_EQ(c, 'c');
    EXPECT_EQ(SmilGetOneTag(), nullptr);
    EXPECT_EQ(SmilGetChar(&c), 0) << "the cursor must be exhausted";
}

// "kind name attribute=value ...", "-" for no tag.
std::string split(const char* markup) {
    const NoLeak check;
    tSMIL_Tag* tag = SmilParseTag(markup);
    std::string out = "-";
    if (tag != nullptr) {
        out = print("%d ", tag->Type) + text(tag->Name);
        for (const auto* a = tag->AttrList; a != nullptr; a = a->Next)
            out += " " + text(a->Name) + "=" + text(a->Value);
    }
    SmilFreeTagStruct(tag);
    return out;
}

TEST(Smil, SplitterNamesKindsAndAttributes) {
    const std::pair<const char*, const char*> cases[] = {
        {"</ par\r\n>", "2 par"},
        {"<r id=\"A\" top=\"5\" />", "3 r top=5 id=A"},
        {"<img src='a' />", "3 img"},
        {"<par/>", "3 par/"},  // slash_belongs_to_name
        {"<i a = \"1\"b=\"\">", "1 i b= a=1"},
        {"<i a b=\"1\">", "1 i a=1"},
        {"<i a/b=\"1\">", "1 i a/b=1"},
        {"<i a=\"1\" b=\"2/>", "3 i a=1"},
        {"<i a=\"1\" =\"2\">", "1 i a=1"},
        {"<p\ta=\"1\" \tb=\"2\">", "1 p\ta=\"1\" \tb=2"},
        {nullptr, "-"}};
    for (const auto& [markup, expected] : cases)
        EXPECT_EQ(split(markup), expected) << text(markup);
    for (const char* none : {"<i a=\"1\"", "<>", "<?xml?>", "x<i>", "<", "<i", "<i a", "<!--"})
        EXPECT_EQ(split(none), "-") << none;
}

TEST(Smil, WordsTagsAndHeads) {
    EXPECT_EQ(SmilTag[SmilIsTag("par")], std::string("par"));
    EXPECT_EQ(SmilAttribute[SmilIsAttr("dur")], std::string("dur"));
    char letters[] = "word", *word = SmilGetWord(letters, letters + 3);
    EXPECT_STREQ(word, "wor");
    fnSC_Free(&word);
    EXPECT_EQ(SmilGetWord(letters, letters), nullptr);
    const std::string head = "<root-layout width=\"5\"/></layout></head><body>";
    fail_each_allocation([&head] {
        ASSERT_EQ(SmilInitInput(head.c_str(), static_cast<int32_t>(head.size())), 1);
        tSMIL_Layout* layout = SmilParseLayout();
        EXPECT_TRUE(layout == nullptr || layout->RootWidth == 5);
        fnSC_Free(&layout);
        split("<i a=\"1\" b=\"2\">");
    });
    EXPECT_EQ(SmilInitInput(head.c_str(), static_cast<int32_t>(head.size())), 1);
    EXPECT_EQ(SmilParseHead(), 1);
    mmskit::reset_parser_state();
}

// A host may have put together the view that is added to.
TEST(Smil, ListsThatWereNotBuiltHereAreContinued) {
    SmilParserInit();
    tSMIL_Attachment one{}, two{}, three{}, four{};
    tSMIL_ViewStruct.AttachmentList = &one;
    EXPECT_EQ(fnPAR_GetTotalAttachments(), 1);
    EXPECT_EQ(SmilAddAttachment(&two), 1);
    two.Next = &three;
    EXPECT_EQ(SmilAddAttachment(&four) + fnPAR_GetTotalAttachments(), 5);
    SmilParserInit();
    tSMIL_Text text{};
    EXPECT_EQ(SmilAddText(&text), 0) << "no slide";
    EXPECT_EQ(SmilDelCurrPar(), 1);
    tSMIL_Par last{};
    auto* pars = static_cast<tSMIL_Par*>(fnSC_Malloc_Local(sizeof(tSMIL_Par)));
    auto* second = static_cast<tSMIL_Par*>(fnSC_Malloc_Local(sizeof(tSMIL_Par)));
    tSMIL_ViewStruct.ParList = tSMIL_ViewStruct.CurPar = pars;
    EXPECT_EQ(SmilAddPar(second), 1);
    tSMIL_ViewStruct.CurPar = pars;
    EXPECT_EQ(SmilAddPar(&last), 1);
    EXPECT_TRUE(pars->Next == second && second->Next == &last && last.Prev == second);
    tSMIL_ViewStruct.CurPar = second;
    EXPECT_EQ(SmilDelCurrPar(), 1);
    EXPECT_TRUE(tSMIL_ViewStruct.CurPar == pars && pars->Next == &last && last.Prev == pars);
    EXPECT_EQ(SmilDelCurrPar(), 1);
    EXPECT_TRUE(tSMIL_ViewStruct.ParList == &last && last.Prev == nullptr);
    SmilParserInit();
}

TEST(Smil, time_is_leading_integer) {
    const std::string rows =
        "5s>5000 500ms>500 5>5 1.5s>1000 5Ms>5000 00:05>0 -9MS>-9 +7S>7000 "
        "5mx>5 3000000s>2147483647 -3000000s>-2147483648 2147483648>2147483647 ";
    EXPECT_EQ(rows_made(rows, [](const char* s) { return print("%d", mmskit::time_value(s)); }),
              rows);
    EXPECT_EQ(mmskit::time_value(nullptr) + mmskit::time_value(" \t7s"), 7000);
}
TEST(Smil, hash_colour_has_no_alpha) {
    const std::string rows =
        "#Ff0000>FF0000 #>0 #1F0123456789>23456789 RED>FFFF0000 AQUA>FF00FFFF red>FFFFFFFF ";
    EXPECT_EQ(rows_made(rows, [](const char* s) { return print("%X", ColorToInt(s)); }), rows);
    EXPECT_EQ(ColorToInt(nullptr), 0xFFFFFFFF);
    EXPECT_EQ(ColorToInt("#1g\xFF"), (16U + 'g') * 16U + 0xFF) << "colour_digits_are_not_checked";
}

TEST(Smil, regions_are_found_with_their_case_and_without) {
    char first[] = "text", second[] = "Text";
    tSMIL_Region a{first, 1, 2, 3, 4, nullptr, nullptr}, b{second, 5, 6, 7, 8, nullptr, nullptr};
    EXPECT_EQ(SmilAddRegion(&a) + SmilAddRegion(&b), 2);
    EXPECT_EQ(SmilFindRegion("text"), &b) << "the last added comes first";
    for (const char* none : {static_cast<const char*>(nullptr), "", "tex"})
        EXPECT_EQ(SmilFindRegion(none), nullptr);
    int32_t out[4] = {};
    EXPECT_EQ(SmilGetRegionDataById(out, "TEXT") + SmilGetRegionDataById(out, ""), 0);
    EXPECT_EQ(SmilGetRegionDataById(out, "text"), 1);
    EXPECT_EQ(out[0] * 1000 + out[1] * 100 + out[2] * 10 + out[3], 1234);
    tSMIL_ViewStruct.RegionList = nullptr;
}

}  // namespace
