// SMIL text to slides: scanner, splitter, values, regions, the model's lists and whole documents.
// Text handed to the parser lies flush against an unmapped page and has no terminator.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "Parser/src/smil_internal.h"
#include "tests/support/bytes.h"
#include "tests/support/faults.h"
#include "tests/support/guarded.h"

namespace {

using namespace testing_support;
using mmskit::parser_state;

const tSMIL_View& view = tSMIL_ViewStruct;

template <typename Element>
std::string elements(const Element* e, char* Element::*label) {
    std::string out;
    for (; e != nullptr; e = e->Next) {
        out += " " + text(e->*label);
        if constexpr (requires { e->Left; })
            if (e->Left != 0) out += print("@%d,%d,%d,%d", e->Left, e->Top, e->Width, e->Height);
        if (e->Begin != 0 || e->End != 0) out += print("[%d-%d]", e->Begin, e->End);
    }
    return out;
}

// "160x120 #root; region@l,t,w,h {dur #colours texts images sounds videos}", lists in their order;
// the place of an element at the left edge and a span of zeros are left out.
std::string dump() {
    std::string out = print("%dx%d", view.RootWidth, view.RootHeight);
    if (view.IsBgColor != 0) out += print(" #%08X", view.bgColor);
    for (const auto* r = view.RegionList; r != nullptr; r = r->Next)
        out += "; " + text(r->Id) + print("@%d,%d,%d,%d", r->Left, r->Top, r->Width, r->Height) +
               (r->Fit != nullptr ? r->Fit : "");
    for (const auto* p = view.ParList; p != nullptr; p = p->Next) {
        out += print(" {%d", p->Dur);
        if (p->IsBgColor != 0) out += print(" #%08X", p->bgColor);
        if (p->IsForeColor != 0) out += print(" #%08X", p->foreColor);
        out += elements(p->Text, &tSMIL_Text::Data) + elements(p->Img, &tSMIL_Media::Name) +
               elements(p->Audio, &tSMIL_Audio::Name) + elements(p->Video, &tSMIL_Media::Name) +
               "}";
        EXPECT_EQ(p->Next == nullptr ? p : p->Next->Prev, p);
    }
    return out;
}

class Smil : public testing::Test {
  protected:
    // Parts named by one letter, which is their data too; "drm" cannot be shown.
    static constexpr const char* names_[] = {"a", "b", "p", "q", "s", "v", "drm"};
    tMMS_MediaData media_[std::size(names_)] = {};

    Smil() {
        for (size_t i = 0; i < std::size(names_); ++i) {
            media_[i].pContentLocation = const_cast<char*>(names_[i]);
            media_[i].pData = reinterpret_cast<uint8_t*>(media_[i].pContentLocation);
            media_[i].iDataLen = 1;
            if (i != 0) media_[i - 1].pNext = &media_[i];
        }
        media_[6].pContentType = const_cast<char*>("application/vnd.oma.drm.content");
        empty();
    }
    ~Smil() override {
        empty();
        mmskit::reset_parser_state();
    }

    void empty() {
        SmilParserClean();
        SmilParserInit();
        mmskit::reset_parser_state();
        for (auto& part : media_)
            part.IsSmil = 0;
        parser_state.tpSMIL_Element = media_;
        parser_state.copy_budget = 1U << 24;
    }
    int32_t parse(std::string_view document) {
        empty();
        const Guarded guarded(document);
        SmilInitInput(guarded.chars(), guarded.length());
        const int32_t result = SmilParseSmil();
        mmskit::exhaust_cursor();
        return result;
    }
    // Layout and body of a document, with ' for ", or "failed".
    std::string slides(const std::string& layout, const std::string& body) {
        std::string document =
            "<smil><head><layout>" + layout + "</layout></head><body>" + body + "</body></smil>";
        std::replace(document.begin(), document.end(), '\'', '"');
        return parse(document) != 0 ? dump() : "failed";
    }
};

TEST_F(Smil, ScannerCutsTags) {
    const std::string long_tag = "<x" + std::string(200, ' ') + ">";
    const std::pair<std::string, std::string> cases[] = {
        {"\xEF\xBB\xBF \n<a>text</a>tail", "<a>|</a>|"},
        {"<!-- a > b --><c>", "<!-- a >|<c>|"},
        {"<a><a <b><b", "<a>|<a <b>|"},
        {long_tag + long_tag, long_tag + "|" + long_tag + "|"},
        {"none > here", ""}};
    for (const auto& [input, expected] : cases) {
        const NoLeak check;
        const Guarded guarded(input);
        ASSERT_EQ(SmilInitInput(guarded.chars(), guarded.length()), 1);
        EXPECT_EQ(SmilInitInput(nullptr, 3) + SmilInitInput("<b>", 0) + SmilInitInput("<b>", 4) +
                      SmilInitInput("<b>\0<c>", 7) + SmilGetChar(nullptr),
                  0);
        std::string tags;
        while (char* tag = SmilGetOneTag()) {
            tags += text(tag) + "|";
            fnSC_Free(&tag);
        }
        EXPECT_EQ(tags, expected);
        char c = 0;
        EXPECT_EQ(SmilGetChar(&c), 0) << "cursor must be exhausted";
    }
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

TEST_F(Smil, SplitterNamesKindsAndAttributes) {
    const std::pair<const char*, const char*> cases[] = {
        {"</ par\r\n>", "2 par"},
        {"<r id=\"A\" top=\"5\" />", "3 r top=5 id=A"},
        {"<img src='a' />", "3 img"},
        {"<i a = \"1\"b=\"\">", "1 i b= a=1"},
        {"<i a b=\"1\">", "1 i a=1"},
        {"<i a/b=\"1\">", "1 i a/b=1"},
        {"<i a=\"1\" b=\"2/>", "3 i a=1"},
        {"<i a=\"1\" =\"2\">", "1 i a=1"},
        {"<p\ta=\"1\" \tb=\"2\">", "1 p\ta=\"1\" \tb=2"},
        {"<i a=\"1\"", "-"},
        {"<>", "-"},
        {"<?xml?>", "-"},
        {nullptr, "-"}};
    for (const auto& [markup, expected] : cases)
        EXPECT_EQ(split(markup), expected) << text(markup);
}

TEST_F(Smil, slash_belongs_to_name) {
    EXPECT_EQ(split("<par/>"), "3 par/");
    EXPECT_EQ(slides("", "<par/><par><img src='p' /></par>"), "0x0 {0 p}");
}

TEST_F(Smil, time_is_leading_integer) {
    const std::string rows =
        "5s>5000 500ms>500 5>5 1.5s>1000 5Ms>5000 00:05>0 -9MS>-9 +7S>7000 "
        "3000000s>2147483647 -3000000s>-2147483648 2147483648>2147483647 ";
    EXPECT_EQ(rows_made(rows, [](const char* s) { return print("%d", mmskit::time_value(s)); }),
              rows);
    EXPECT_EQ(mmskit::time_value(nullptr), 0);
    EXPECT_EQ(mmskit::time_value(" \t7s"), 7000);
}
TEST_F(Smil, hash_colour_has_no_alpha) {
    const std::string rows =
        "#Ff0000>FF0000 #>0 #1F0123456789>23456789 RED>FFFF0000 AQUA>FF00FFFF red>FFFFFFFF ";
    EXPECT_EQ(rows_made(rows, [](const char* s) { return print("%X", ColorToInt(s)); }), rows);
    EXPECT_EQ(ColorToInt(nullptr), 0xFFFFFFFF);
}
TEST_F(Smil, colour_digits_are_not_checked) {
    EXPECT_EQ(ColorToInt("#1g\xFF"), (16U + 'g') * 16U + 0xFF);
}

using Documents = std::vector<std::pair<const char*, const char*>>;

TEST_F(Smil, LayoutOfTheRootAndRegions) {
    const Documents cases = {
        {"<root-layout width='160' height='50%' backgroundcolor='#00ff00' />",
         "160x50 #0000FF00 {0 p}"},
        {"<Region ID='I' left='1' top='2' width='3' height='4' fit='meet' />",
         "0x0; I@1,2,3,4meet {0 p@1,2,3,4}"},
        {"<region id='i' left='9' /><region id='I' left='1' ></region>",
         "0x0; (null)@0,0,0,0; I@1,0,0,0; i@9,0,0,0 {0 p@1,0,0,0}"},
        {"<region id='I' left='1' id='x' left='2' /><layout /><region id='I' left='5' />",
         "0x0; I@5,0,0,0; I@1,0,0,0 {0 p@5,0,0,0}"},
        {"<region id='I' left='-99999999999' />",
         "0x0; I@-2147483648,0,0,0 {0 p@-2147483648,0,0,0}"}};
    for (const auto& [layout, expected] : cases)
        EXPECT_EQ(slides(layout, "<par><img src='p' region='I'/></par>"), expected) << layout;
}

TEST_F(Smil, SlidesOfTheBody) {
    const Documents cases = {
        {"<par dur='5s'><img src='p' begin='500ms' end='2s'/></par>", " {5000 p[500-2000]}"},
        {"<par><text src='a' region='T'/><text src='b' region='t' /></par>", " {0 b a@1,0,0,0}"},
        {"<par><audio src='s' region='T'/><ref src='p'/><Video src='v' region='T'/></par>",
         " {0 s v@1,0,0,0}"},
        {"<par></par><par dur='5' /><img src='p'/><par><img src='missing'/></par>", ""},
        {"<par><img/><text/><par /><img src='p'/><x/></par></par>", " {0 p}"},
        {"<par><img src='p' region='' region='T'/></par>", " {0 p@1,0,0,0}"},
        {"<par><param name='background-color'/><param value='RED'/><img src='p'/></par>", " {0 p}"},
        {"<par><text src='none'><img src='p'/></text><img src='q'/></par>", " {0 q}"},
        {"<par><img src='drm'/><img src='p'/></par>", " {0 p}"},
        {"<par><img src='p' begin='1' src='q'/></par>", " {0 p[1-0]}"},
        {"<par><img src='none' src='q'/></par>", " {0 q}"},
        {"<par><text src='a' src='b'/></par>", " {0 a}"}};
    for (const auto& [body, expected] : cases)
        EXPECT_EQ(slides("<region id='T' left='1'/>", body),
                  std::string("0x0; T@1,0,0,0") + expected);
    EXPECT_EQ(media_[0].IsSmil + media_[1].IsSmil, 2U) << "both sources of the last are marked";
}

TEST_F(Smil, nested_par_takes_the_outer_dur) {
    EXPECT_EQ(slides("",
                     "<par dur='5s'><par dur='9s'><img src='p'/></par><par dur='1'>"
                     "<img src='q'/></par>"),
              "0x0 {5000} {5000 p} {1 q}");
}

TEST_F(Smil, ResultOfADocument) {
    const std::pair<const char*, int32_t> cases[] = {
        {"<smil></smil>", 1},
        {"<smil><body><par><img src=\"p\"/></par></smil>", 0},
        {"<smil><head><body><par><img src=\"p\"/></par></body></smil>", 1},
        {"<smil><head><layout></layout><body></smil>", 0},
        {"<smil><body></body><body>", 0},
        {"<smil><body><par><img src=\"\"/></par></body></smil>", 0},
        {"<smil><body><par><text src=\"a\"></par></body></smil>", 0}};
    for (const auto& [document, expected] : cases)
        EXPECT_EQ(parse(document), expected) << document;
    EXPECT_EQ(slides("<region id='1'/></layout><layout><root-layout width='7'/>", ""), "7x0");
}

TEST_F(Smil, RegionsAreFoundInShortAndLongLists) {
    const auto add = [](const std::string& id, int32_t left) {
        auto* region = mmskit::new_record<tSMIL_Region>();
        region->Id = id.empty() ? nullptr : mmskit::copy_text(id.c_str());
        region->Left = left;
        SmilAddRegion(region);
    };
    const auto left_of = [](const std::string& id) {
        int32_t rect[4] = {-7};
        SmilGetRegionDataById(rect, id.c_str());
        return rect[0];
    };
    for (const int count : {3, 10000}) {
        empty();
        add("", 0);
        for (int i = 0; i < count; ++i)
            add(print("Id%d", i % 5000), i);
        for (int i = count - std::min(count, 5000); i < count; ++i)
            ASSERT_EQ(left_of(print("Id%d", i % 5000)), i) << "the latest one is found";
        for (const char* unknown : {"id2", "Id", "Id2 "})
            EXPECT_EQ(left_of(unknown), 0) << "unknown ids clear the place";
        EXPECT_EQ(left_of(""), -7) << "an empty id leaves it";
        add("Id2", -1);
        EXPECT_EQ(left_of("Id2"), -1) << "the index must follow the list";
    }
}

// Holds every allocation and every kind of record.
const char* const whole_document =
    R"(<smil><head><layout><root-layout width="9" backgroundcolor="#1" /><region id="I" fit="x"
left="3"/></layout></head><body><par dur="2s"><img src="p" src="q" region="I"/><text src="a">
<param name="foreground-color" value="RED"/></text></par><par><par><audio src="s"/><video src="v"/>
</par></body></smil>)";

TEST_F(Smil, WholeDocumentIsReadAndCleanedWithoutTrace) {
    ASSERT_EQ(parse(whole_document), 1);
    EXPECT_EQ(dump(), "9x0 #00000001; I@3,0,0,0x {2000 #FFFF0000 a p@3,0,0,0} {0} {0 s v}");
    SmilParserClean();
    int32_t rect[4] = {};
    EXPECT_EQ(SmilGetRegionDataById(rect, "I"), 0);
    EXPECT_EQ(SmilDelCurrPar(), 1);
    SmilAddPar(mmskit::new_record<tSMIL_Par>());
    EXPECT_EQ(view.ParList, view.CurPar);
}

TEST_F(Smil, EveryAllocationMayFail) {
    std::string long_layout;
    for (int i = 0; i < 40; ++i)
        long_layout += print("<region id='%d' left='1'/>", i);
    fail_each_allocation([&] {
        parse(whole_document);
        slides(long_layout, "<par><img src='p' region='0'/></par>");
        empty();
    });
}

TEST_F(Smil, DamagedDocumentsAreReadSafely) {
    damage_each_byte(whole_document, [this](const uint8_t* data, int32_t length) {
        parse({reinterpret_cast<const char*>(data), static_cast<size_t>(length)});
        empty();
    });
}

TEST_F(Smil, LargeDocumentsComplete) {
    std::string regions, pars;
    for (int i = 0; i < 10000; ++i) {
        regions += print("<region id='r%d' left='%d'/>", i, i);
        pars += print("<par><img src='p' region='r%d'/></par>", i);
    }
    ASSERT_NE(slides(regions, pars), "failed");
    int32_t left = 0;
    for (const auto* p = view.ParList; p != nullptr; p = p->Next)
        EXPECT_EQ(p->Img->Left, left++);
    EXPECT_EQ(left, 10000);
    std::string nested, attributes(1U << 20, ' ');
    for (int i = 0; i < 100000; ++i) {
        nested += "<par>";
        attributes += "a='' ";
    }
    ASSERT_NE(slides("", "<par " + attributes + "dur='7'>" + nested + "<img src='p'/></par>"),
              "failed");
    EXPECT_EQ(view.CurPar->Dur, 7);
}

}  // namespace
