// The C++ header over the C interface: what it reads is what the C functions read, owners free on
// every path, and failure comes back as a reason. Compiled without exceptions and run-time types,
// as a host may be.
#include <mmskit/mmskit.hpp>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#if defined(__cpp_exceptions) || defined(__cpp_rtti)
#error "this test holds that the header needs neither"
#endif

namespace {

using namespace std::string_view_literals;

static_assert(std::forward_iterator<mmskit::SlideRange::iterator>);
static_assert(std::forward_iterator<mmskit::PartRange::iterator>);
static_assert(!std::is_copy_constructible_v<mmskit::RetrieveConf>);
static_assert(!std::is_copy_constructible_v<mmskit::SlideView>);
// What would dangle does not compile.
template <typename T>
concept opens = requires(T message) {
    mmskit::SlideView::open(std::forward<T>(message));
};
static_assert(opens<mmskit::RetrieveConf&> && !opens<mmskit::RetrieveConf>);

std::vector<uint8_t> file(const std::string& name) {
    std::ifstream in(MMSKIT_SOURCE_DIR "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

mmskit::Bytes bytes(std::string_view text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

std::string string(mmskit::Bytes data) {
    return {data.begin(), data.end()};
}

TEST(Cpp, a_received_message_is_read_slide_by_slide) {
    const auto message = mmskit::parse_retrieve_conf(file("examples/postcard.mms"));
    ASSERT_TRUE(message);
    EXPECT_EQ(mmskit::text((*message)->From), "+15550100");
    EXPECT_EQ(mmskit::text((*message)->pSubject), "Grüße vom Strand 🌅");

    const auto view = mmskit::SlideView::open(*message);
    ASSERT_TRUE(view);
    EXPECT_FALSE(view->left_out());
    std::string slides;
    for (const mmskit::Slide slide : view->slides()) {
        slides += std::to_string(slide.duration()) + " " + std::to_string(*slide.background());
        slides += " " + std::string(mmskit::text(slide.text()->Data).substr(0, 4));
        if (slide.image()) slides += " " + std::string(mmskit::text(slide.image()->Name));
        if (slide.audio()) slides += " " + std::string(mmskit::text(slide.audio()->Name));
        slides += slide.video() ? " film; " : "; ";
    }
    EXPECT_EQ(slides,
              "8000 16774368 Gree sunset.jpg surf.mp3; 6000 65535 This boat.png; 5000 128 See ; ");
    ASSERT_EQ(view->attachments(), 1);
    const tPAR_Attachment attachment = *view->attachment(0);
    EXPECT_EQ(mmskit::text(attachment.Name), "zoe.vcf");
    EXPECT_TRUE(string(mmskit::bytes(attachment.Data, attachment.Length)).starts_with("BEGIN"));
    EXPECT_FALSE(view->attachment(1) || view->attachment(-1));
}

TEST(Cpp, the_parts_of_a_body_are_a_range) {
    const auto message = mmskit::parse_retrieve_conf(file("examples/postcard.mms"));
    ASSERT_TRUE(message);
    const auto content = mmskit::Content::split(mmskit::body_of(*message));
    ASSERT_TRUE(content);
    std::vector<std::string> types;
    for (const tMMS_MediaData& part : content->parts())
        types.emplace_back(mmskit::text(part.pContentType));
    EXPECT_EQ(types,
              (std::vector<std::string>{"text/plain", "image/jpeg", "audio/mpeg", "text/plain",
                                        "image/png", "text/plain", "text/x-vCard"}));
    EXPECT_NE(string(content->smil()).find("<smil"), std::string::npos);
}

TEST(Cpp, the_newest_view_is_the_one_that_is_there) {
    const auto postcard = mmskit::parse_retrieve_conf(file("examples/postcard.mms"));
    const auto other = mmskit::parse_retrieve_conf(file("examples/no-smil.mms"));
    ASSERT_TRUE(postcard && other);
    auto first = mmskit::SlideView::open(*postcard);
    ASSERT_TRUE(first);
    {
        const auto second = mmskit::SlideView::open(*other);
        ASSERT_TRUE(second && second->current());
        EXPECT_TRUE(!first->current() && first->slides().empty() && first->attachments() == 0);
        mmskit::SlideView old = std::move(*first);  // its end must not be the end of the new one
    }
    EXPECT_EQ(tSMIL_ViewStruct.ParList, nullptr);
    first = mmskit::SlideView::open(*postcard);
    EXPECT_FALSE(first->slides().empty());
    ASSERT_TRUE(mmskit::Composition::reedit(mmskit::body_of(*postcard)));
    EXPECT_TRUE(first->slides().empty());
}

// The odd machines run this under ThreadSanitizer too.
TEST(Cpp, anatomies_in_several_threads_are_those_of_one) {
    std::vector<std::vector<uint8_t>> inputs;
    for (const char* name : {"postcard", "attachments", "scripts", "no-smil", "single-text"})
        for (const size_t part : {4U, 3U, 2U}) {
            inputs.push_back(file("examples/" + std::string(name) + ".mms"));
            inputs.back().resize(inputs.back().size() * part / 4);
        }
    const auto mend_all = [&inputs] {
        std::string all;
        for (const std::vector<uint8_t>& input : inputs) {
            const auto anatomy = mmskit::Anatomy::dissect(input);
            const auto mended = anatomy->mend();
            for (const tMMS_Note& note : mended->notes())
                all += note.pText;
            all.append(mended->data().begin(), mended->data().end());
        }
        return all;
    };
    const std::string expected = mend_all();
    std::vector<std::string> seen(4);
    std::vector<std::thread> threads;
    for (std::string& each : seen)
        threads.emplace_back([&each, &mend_all] { each = mend_all(); });
    for (std::thread& each : threads)
        each.join();
    EXPECT_EQ(seen, std::vector(4, expected));
}

TEST(Cpp, an_anatomy_tells_what_is_wrong_and_is_mended) {
    std::vector<uint8_t> cut = file("examples/postcard.mms");
    cut.resize(2500);
    const auto anatomy = mmskit::Anatomy::dissect(cut);
    ASSERT_TRUE(anatomy);
    EXPECT_EQ(anatomy->kind(), "m-retrieve-conf");
    EXPECT_EQ(anatomy->looks_like(), "");
    EXPECT_EQ(anatomy->nodes().size(), (*anatomy)->iNodes);
    EXPECT_EQ(anatomy->layers()[0].iLength, cut.size());
    std::string subject;
    for (const tMMS_HeaderField& header : anatomy->headers())
        if (header.pName == "Subject"sv) subject = header.pValue;
    EXPECT_EQ(subject, "Grüße vom Strand 🌅");
    ASSERT_GE(anatomy->parts().size(), 3U);
    EXPECT_EQ(anatomy->parts()[1].pType, "text/plain"sv);
    ASSERT_FALSE(anatomy->notes().empty());
    EXPECT_EQ(anatomy->notes().back().iFlaw, MMS_FLAW_LOST + 0U);

    const auto mended = anatomy->mend();
    ASSERT_TRUE(mended);
    EXPECT_TRUE(mended->changed());
    EXPECT_GE(mended->notes().size(), anatomy->notes().size());
    ASSERT_TRUE(mmskit::parse_retrieve_conf(mended->data()));
    const auto view = mmskit::SlideView::open(mended->body());
    ASSERT_TRUE(view);
    EXPECT_EQ(mmskit::text((*view->slides().begin()).image()->Name), "sunset.jpg");
}

TEST(Cpp, what_is_composed_reads_back) {
    auto composition = mmskit::Composition::create();
    ASSERT_TRUE(composition);
    const std::string_view unterminated("Hello\nthere, not this", 11);
    EXPECT_TRUE(composition->set_duration(7000));
    composition->set_background(0x102030);
    EXPECT_TRUE(composition->add_text(unterminated));
    EXPECT_TRUE(composition->add_image({bytes("GIF89a"), "image/gif", "a.gif", 500}));
    EXPECT_TRUE(composition->add_slide());
    EXPECT_TRUE(composition->add_video({bytes("film"), "video/3gpp", "b.3gp", 0, 2000}));
    EXPECT_TRUE(composition->attach({bytes("BEGIN:VCARD"), "text/x-vCard", "c.vcf"}));
    auto body = composition->body();
    ASSERT_TRUE(body);

    auto request = mmskit::SendReq::make();
    ASSERT_TRUE(request);
    EXPECT_TRUE(mmskit::set_text((*request)->pTo, "+15550123;zoe@mail.example"));
    EXPECT_TRUE(mmskit::set_text((*request)->pSubject, "first"));
    EXPECT_TRUE(mmskit::set_text((*request)->pSubject, "second\0cut"sv));
    EXPECT_TRUE(mmskit::set_text((*request)->pTransactionId, "T1"));
    mmskit::set_body(*request, std::move(*body));
    const auto pdu = mmskit::encode(*request);
    ASSERT_TRUE(pdu);

    const auto back = mmskit::parse_send_req(pdu->bytes());
    ASSERT_TRUE(back);
    EXPECT_EQ(mmskit::text((*back)->pTo), "+15550123;zoe@mail.example");
    EXPECT_EQ(mmskit::text((*back)->pSubject), "second");
    const auto view =
        mmskit::SlideView::open(mmskit::bytes((*back)->pContent, (*back)->iContentLen));
    ASSERT_TRUE(view);
    auto slide = view->slides().begin();
    EXPECT_EQ((*slide).duration(), 7000);
    EXPECT_EQ(mmskit::text((*slide).text()->Data), "Hello\nthere");
    const auto image = (*slide).image();
    EXPECT_EQ(string(mmskit::bytes(image->Data, image->Length)), "GIF89a");
    EXPECT_EQ(image->Begin, 500);
    EXPECT_EQ(image->End, 7000);
    EXPECT_EQ((*++slide).video()->End, 2000);
    EXPECT_EQ(view->attachments(), 1);
}

TEST(Cpp, replies_bear_the_transaction_id) {
    const auto response = mmskit::notify_response("T7", true, MMS_STATUS_RETRIEVED);
    const auto acknowledgement = mmskit::acknowledge("T8", false);
    ASSERT_TRUE(response && acknowledgement);
    EXPECT_EQ(string(response->bytes()), "\x8C\x83\x98T7\0\x8D\x92\x91\x80\x95\x81"sv);
    EXPECT_EQ(string(acknowledgement->bytes()), "\x8C\x85\x98T8\0\x8D\x92\x91\x81"sv);
    EXPECT_TRUE(mmskit::read_report("T9", "+15550123", "Read: Hello"));
}

TEST(Cpp, failure_has_a_reason) {
    const std::string_view junk = "\x8C\x84\xFF\xFF"sv;
    const auto message = mmskit::parse_retrieve_conf(bytes(junk));
    ASSERT_FALSE(message);
    EXPECT_NE(message.error().reason, "no error");
    EXPECT_EQ(message.error().offset, 2U);
    EXPECT_FALSE(mmskit::parse_delivery_ind({}));
    EXPECT_FALSE(mmskit::SlideView::open(bytes("no body")));
    EXPECT_EQ(mmskit::SlideView::open(mmskit::Bytes()).error().reason, "no body");
    EXPECT_FALSE(mmskit::Content::split(bytes("no body")));
    EXPECT_EQ(mmskit::decode_si(bytes("no push")), nullptr);
    EXPECT_FALSE(mmskit::encode(mmskit::ReadRecInd()));

    auto one = mmskit::Composition::create();
    ASSERT_TRUE(one);
    EXPECT_EQ(mmskit::Composition::create().error().code, CPS_IN_USE);
    EXPECT_TRUE(one->add_text("one"));
    EXPECT_EQ(one->add_text("two").error().code, CPS_MEDIUM_PRESENT);
    EXPECT_EQ(one->add_image({}).error().code, CPS_BAD_ARGUMENT);
    EXPECT_EQ(one->set_duration(0).error().code, CPS_BAD_ARGUMENT);
    const mmskit::Composition moved = std::move(*one);
    one = mmskit::Composition::create();
    EXPECT_EQ(one.error().reason, "a composition is open already");
}

}  // namespace
