// The command's JSON input. Oracle: a description becomes a message that tells what was described.
#include "fuzz/harness.h"
#include "writing/composition.h"
#include "writing/message_encoder.h"

namespace {

using namespace fuzz;
using namespace mmskit_tool;

// Only files of the folder are read.
bool stays_inside(const Description& description) {
    for (const auto* items : {&description.slides, &description.attachments})
        for (const Items& each : *items)
            for (const char* key : {"text_file", "image", "audio", "video", "file"}) {
                const std::string* name = each.find(key);
                if (name != nullptr && (*name == "-" || name->find('/') != std::string::npos))
                    return false;
            }
    return true;
}

void check_message(const MessagePlan& plan) {
    size_t slides = 0;
    LibraryBytes body;
    {
        Composition composition;
        for (const PlannedSlide& slide : plan.slides) {
            composition.add_slide(slide);
            slides += slide.text || slide.image || slide.audio || slide.video ? 1 : 0;
        }
        for (const PlannedAttachment& attachment : plan.attachments)
            composition.add_attachment(attachment);
        body = composition.body();
    }
    fnPAR_SmilParserEntry(body.data.get(), int32_t(body.size));
    tell(body.data.get(), body.size);
    size_t shown = 0;
    for (const tSMIL_Par* par = tSMIL_ViewStruct.ParList; par != nullptr; par = par->Next)
        ++shown;
    hold(shown == slides, "another number of slides");
    hold(size_t(fnPAR_GetTotalAttachments()) == plan.attachments.size(), "the attachments");
    const LibraryBytes pdu = send_request(plan, std::move(body));
    const tMMS_SendReq* request = fnMMS_ParseSendContent(pdu.data.get(), int32_t(pdu.size));
    const Owner<const tMMS_SendReq,
                [](const tMMS_SendReq* record) {
                    fnMMS_FreeMessageMem(const_cast<tMMS_SendReq*>(record), MMS_KIND_SEND_REQ);
                }>
        owner(request);
    if (request == nullptr) return;  // QUIRK reading_back_fails_on_a_date
    hold(plan.to == (request->pTo == nullptr ? "" : request->pTo), "the recipients");
    hold(plan.subject.value_or("") == (request->pSubject == nullptr ? "" : request->pSubject),
         "the subject");
}

void run_json(Bytes input) {
    static const bool made = [] {
        for (const char* name : {"a.jpg", "b.amr", "c.3gp", "d.txt"})
            put_file(name, Exact::bytes_of("any bytes"));
        return true;
    }();
    (void)made;
    const std::string path = put_file("m.json", input);
    try {
        const Description description = describe_json(path);
        if (!stays_inside(description)) return;
        const MessagePlan plan = make_plan(description);
        tell(std::string_view(plan.to));
        tell(std::string_view(plan.subject.value_or("none")));
        check_message(plan);
    } catch (const Failure& failure) {
        hold(*failure.what() != '\0', "a failure without a word");
    }
}

constexpr fuzz::Target targets[] = {{"json", run_json}};

}  // namespace

const std::span<const fuzz::Target> fuzz::command_targets = targets;
