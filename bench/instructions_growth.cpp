// How the instructions of an operation grow with the size of what it is given: each shape at two
// sizes or more, for `.ci/check_instructions BUILD --growth`.
#include <mmskit/mmskit.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "bench/inputs.h"
#include "bench/instructions.h"

namespace {

using inputs::bytes_of;
using inputs::size_of;

void must(bool done, const char* what) {
    if (done) return;
    std::fprintf(stderr, "growth: %s failed\n", what);
    std::exit(1);
}

std::string times(int count, const std::string& piece) {
    return testing_support::repeated(piece, static_cast<size_t>(count));
}

// A body of that presentation and `count` parts named p0.jpg and so on.
std::string shown(const std::string& slides, int count) {
    std::string parts;
    for (int i = 0; i < count; ++i)
        parts += testing_support::part("\x9E\x8Ep" + std::to_string(i) + ".jpg" + '\0', "j");
    return testing_support::bytes("84 1B B3 89 'application/smil' 00 8A '<AAAA>' 00") +
           testing_support::uintvar(static_cast<uint64_t>(count) + 1) +
           testing_support::part(
               inputs::named("application/smil" + std::string(1, '\0'), "mms.smil"),
               "<smil>" + slides + "</smil>") +
           parts;
}
std::string in_body(const std::string& slides) {
    return "<body>" + slides + "</body>";
}

std::string input;
int size = 0;

void show() {
    must(fnPAR_SmilParserEntry(bytes_of(input), size_of(input)) != 0, "presentation");
    fnPAR_SmilFree();
}
void split() {
    tMMS_ContentUnion* content = fnMMS_GetMediaDataFromPdu(bytes_of(input), size_of(input));
    must(content != nullptr, "body");
    fnMMS_FreeMediaData(content);
}

std::string tags_of(int count) {
    return shown(in_body(times(count, "<par dur=\"8s\"></par>\r\n")), 1);
}
std::string attributes_of(int count) {
    return shown(in_body("<par" + times(count, " dur=\"8s\"") + "></par>"), 1);
}
std::string regions_of(int count) {
    return shown("<head><layout>" + times(count, "<region id=\"a\" left=\"1\" />\r\n") +
                     "</layout></head>" + in_body(""),
                 1);
}
std::string parts_of(int count) {
    return shown(in_body(""), count);
}
std::string one_part_of(int count) {
    return shown(in_body(times(count, "<par><img src=\"p0.jpg\" /></par>\r\n")), 1);
}
std::string a_part_each_of(int count) {
    std::string slides;
    for (int i = 0; i < count; ++i)
        slides += "<par><img src=\"p" + std::to_string(i) + ".jpg\" /></par>\r\n";
    return shown(in_body(slides), count);
}

std::string retrieved_by(int count) {
    return inputs::retrieved("").substr(0, 2) +
           times(count, std::string("\x97") + "zoe@mail.example" + '\0') +
           inputs::slides_body(1, 10);
}
void read_recipients() {
    tMMS_RetrieveConf* record = fnMMS_ParseRetrieveConf(bytes_of(input), size_of(input));
    must(record != nullptr && record->pTo != nullptr, "recipients");
    fnMMS_FreeMessageMem(record, MMS_KIND_RETRIEVE_CONF);
}
std::string recipients_of(int count) {
    return times(count, "zoe@mail.example;");
}
void write_recipients() {
    auto* request = static_cast<tMMS_SendReq*>(fnMMS_AllocMessageMem(MMS_KIND_SEND_REQ));
    must(request != nullptr, "record");
    request->pTo = fnSC_STRDUP(input.c_str());
    uint32_t length = 0;
    uint8_t* pdu = fnMMS_MakeSendMessagePdu(request, &length);
    must(pdu != nullptr && length > input.size(), "request");
    fnMMS_FreeMadeMsgPduBuf(pdu);
    fnMMS_FreeMessageMem(request, MMS_KIND_SEND_REQ);
}

// `size` numbers in no order.
std::vector<uint32_t> numbers() {
    std::vector<uint32_t> made(static_cast<size_t>(size));
    uint32_t state = 1;
    for (uint32_t& number : made)
        number = state = state * 1664525 + 1013904223;
    return made;
}
int32_t compare(void* a, void* b) {
    const auto first = *static_cast<uint32_t*>(a);
    const auto second = *static_cast<uint32_t*>(b);
    return first < second ? -1 : first > second ? 1 : 0;
}
void sort_list() {
    std::vector<uint32_t> data = numbers();
    tSCList list{};
    for (uint32_t& number : data)
        fnSCList_AddTail(&list, &number);
    must(fnSCList_Sort(&list, compare) != nullptr, "sorting");
    fnSCList_Clear(&list, nullptr);
}

void save_store() {
    static constexpr char file[] = "umb/growth.ini";
    tSCList list{};
    for (int i = 0; i < size; ++i) {
        // Not fnSCFS_INI_WriteRAM, which looks for the key first.
        auto* entry = static_cast<tSCFS_INI_Entry*>(fnSC_Malloc_Local(sizeof(tSCFS_INI_Entry)));
        must(entry != nullptr, "entry");
        entry->pKey = fnSC_MEMSTRCOPY("setting");
        entry->pValue = fnSC_MEMSTRCOPY("some value");
        fnSCList_AddTail(&list, entry);
    }
    must(fnSCFS_Write_INI_To_File(file, &list) == 1, "saving");
    fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
    fnSCFS_Load_INI_To_List(file, &list);
    must(list.iCount == size, "loading");
    fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
}

struct Shape {
    const char* name;
    instructions::Operation work;
    std::string (*make)(int count);
    std::vector<int> sizes;
};

}  // namespace

namespace instructions {

void count_growth() {
    const Shape shapes[] = {
        {"tags-of-a-presentation", show, tags_of, {1000, 10000}},
        {"attributes-of-a-tag", show, attributes_of, {1000, 10000}},
        {"parts-of-a-body", split, parts_of, {1000, 10000}},
        {"regions", show, regions_of, {1000, 10000}},
        {"slides-of-one-part", show, one_part_of, {1000, 10000}},
        {"slides-of-a-part-each", show, a_part_each_of, {10, 100, 1000}},
        {"recipients-read", read_recipients, retrieved_by, {1000, 10000}},
        {"recipients-written", write_recipients, recipients_of, {1000, 10000}},
        {"list-sort", sort_list, nullptr, {1000, 10000}},
        {"store-saved-and-loaded", save_store, nullptr, {1000, 10000}},
    };
    for (const Shape& shape : shapes)
        for (const int count : shape.sizes) {
            size = count;
            if (shape.make != nullptr) input = shape.make(count);
            instructions::count((std::string(shape.name) + "/" + std::to_string(count)).c_str(),
                                shape.work);
        }
}

}  // namespace instructions
