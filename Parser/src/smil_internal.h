// What the units of the presentation share: the module state, the element model and tag scanner
// (MMSPs_Model, MMSPs_Regions, MMSPs_Input), the document parser (MMSPs_Parse, MMSPs_Values) and
// the media look-up (MMSPs_Media). Not for hosts; the named routines have C linkage so that a test
// can link them.
#pragma once

#include <mmskit/pdu.h>
#include <mmskit/presentation.h>
#include <mmskit/runtime.h>

#include <cstdint>
#include <cstring>

#include "Parser/src/text_view.h"
#include "scshare/common/src/owned.h"

#pragma GCC visibility push(hidden)

namespace mmskit {

// A static reason, or null for none, and a place in the message's body (null: its start).
struct Problem {
    const char* reason;
    const void* at;
};

// What something that a message can repeat may still cost, in bytes or steps.
struct Budget {
    uint64_t left;
};

// What a part is found by, in the order in which it is tried.
enum class NameTest : uint8_t { none, location, name, content_id, cid };

// The reference that was looked up last among those of one kind, and where that came to; all-zero
// when there was none. Borrows the message's texts and parts.
struct LookUp {
    const char* id;
    size_t id_size;
    tMMS_MediaData* first;  // the first part that it names, or null
    tMMS_MediaData* next;   // where those behind are looked for, or null at the end
    NameTest found_by;
};

// All module state beside the exported view; all-zero is idle.
struct ParserState {
    // Cursor over the SMIL text. Nothing is read when bpSMIL_CurChar is null.
    const char* bpSMIL_CurChar;
    int32_t wSMIL_TotalSize;
    // The decoded message, owned, and the head of its media list.
    tMMS_ContentUnion* tpSMIL_Union;
    tMMS_MediaData* tpSMIL_Element;
    int32_t smilCount;
    uint8_t bDrmIncluded;
    // Ends of the view's lists, so that appending costs the same at any length. par_tail is
    // used only while it is CurPar, attachment_tail and total_attachments only while
    // AttachmentList is still attachment_head; SmilAddPar and SmilAddAttachment keep them.
    tSMIL_Par* par_tail;
    tSMIL_Attachment* attachment_head;
    tSMIL_Attachment* attachment_tail;
    int32_t total_attachments;
    // The attachment served last, so that a walk by index is linear in all.
    tSMIL_Attachment* served_attachment;
    int32_t served_index;
    // Bytes that may still be copied onto slides (limits::slide_copy_base).
    Budget copies;
    // Steps that references into this message may still take (limits::reference_work).
    Budget references;
    // The last references to texts, to pictures and videos, and to sounds.
    LookUp text, visual, audio;
    // What fnMMS_GetLastError will say of this message, and where in its body: why it failed or its
    // document broke off, else what a limit left out first.
    Problem problem;
    Problem limit;
};

extern ParserState parser_state;

// Makes the state all-zero. The view's records and the union are released before by SmilParserClean
// and fnMMS_FreeMediaData.
void reset_parser_state();

// Notes why the message cannot be shown, in place of what was noted before.
void note_problem(const char* reason, const void* at);
// Notes that a limit left something out of the document where its cursor stands. The first counts.
void note_limit(const char* reason);

// Takes `work` off `budget` before it is done. False when it does not fit: all that was left is
// gone, since that much was looked at, and the host is told of `limit`. Without a message there are
// no limits: a list is then the caller's own.
bool pay_beyond(Budget& budget, const char* limit);
[[nodiscard]] inline bool pay(Budget& budget, uint64_t work, const char* limit) {
    if (work > budget.left) return pay_beyond(budget, limit);
    budget.left -= work;
    return true;
}

}  // namespace mmskit

extern "C" {

// ---- Tags ---------------------------------------------------------------------------------

typedef struct tSMIL_Attr {
    char* Name;
    char* Value;
    struct tSMIL_Attr* Next;
} tSMIL_Attr;

typedef struct tSMIL_Tag {
    int32_t Type;  // opening_tag, closing_tag or empty_tag
    char* Name;
    tSMIL_Attr* AttrList;  // reverse document order
} tSMIL_Tag;

int32_t SmilInitInput(const char* text, int32_t length);
int32_t SmilGetChar(char* out);
char* SmilGetOneTag(void);
tSMIL_Tag* SmilParseTag(const char* tagText);
void SmilFreeTagStruct(tSMIL_Tag* tag);
int32_t SmilIsTag(const char* name);
int32_t SmilIsAttr(const char* name);
char* SmilGetWord(const char* begin, const char* end);

// ---- Model --------------------------------------------------------------------------------

int32_t SmilParserInit(void);
void SmilParserClean(void);
int32_t SmilAddPar(tSMIL_Par* par);
int32_t SmilAddText(tSMIL_Text* el);
int32_t SmilAddImg(tSMIL_Media* el);
int32_t SmilAddAudio(tSMIL_Audio* el);
int32_t SmilAddVideo(tSMIL_Media* el);
int32_t SmilDelCurrPar(void);
int32_t SmilAddAttachment(tSMIL_Attachment* attachment);
int32_t SmilAddRegion(tSMIL_Region* region);
tSMIL_Region* SmilFindRegion(const char* id);
int32_t SmilGetRegionDataById(int32_t out[4], const char* id);

// ---- Document -----------------------------------------------------------------------------

typedef struct tSMIL_Layout {
    int32_t RootWidth;
    int32_t RootHeight;
    tSMIL_Region* RegionList;
} tSMIL_Layout;

int32_t SmilParseSmil(void);
int32_t SmilParseHead(void);
tSMIL_Layout* SmilParseLayout(void);
int32_t SmilParseBody(void);
int32_t SmilParsePar(void);
int32_t SmilParseText(void);
uint32_t ColorToInt(const char* text);

// ---- Media look-up ------------------------------------------------------------------------

tMMS_MediaData* SmilGetElementById(tMMS_MediaData* list, const char* id);
int32_t SmilGetTextDataById(tSMIL_Text* el, const char* id);
int32_t SmilGetImgDataById(tSMIL_Media* el, const char* id);
int32_t SmilGetAudioDataById(tSMIL_Audio* el, const char* id);
int32_t SmilGetVideoDataById(tSMIL_Media* el, const char* id);

// ---- Layout of a message ------------------------------------------------------------------

int32_t SmilParserSmilMMS(tMMS_ContentUnion* message);
int32_t fnPAR_FillNoSmilViewStruct(tMMS_MediaData* mediaList);
int32_t SmilParserNoSmilMMS(tMMS_MediaData* mediaList);

}  // extern "C"

namespace mmskit {

constexpr int32_t opening_tag = 1;
constexpr int32_t closing_tag = 2;
constexpr int32_t empty_tag = 3;

// Puts the cursor at the end of its text.
void exhaust_cursor();

// ---- Tags in place (MMSPs_Input) -----------------------------------------------------------

// A tag with a known name. Its attributes stay where they are in the text.
struct Tag {
    int32_t index = -1;               // in SmilTag
    int32_t type = 0;                 // opening_tag, closing_tag or empty_tag
    TextView rest;                    // where its attributes begin
    const char* last_word = nullptr;  // before this, eight bytes may be read and two behind them

    bool is(int32_t name) const { return index == name; }
    bool opens(int32_t name) const { return index == name && type == opening_tag; }
    bool closes(int32_t name) const { return index == name && type == closing_tag; }
};

// The next tag with a known name, and the cursor behind it; false, with the cursor at the end, when
// there is none.
[[nodiscard]] bool next_tag(Tag& out);

// The attributes of one tag, walked from the last to the first: assigning in this order lets the
// first one win. A tag of a usual presentation has room here; for more, memory is asked.
class Attributes {
  public:
    struct Item {
        int32_t index;  // in SmilAttribute, or -1
        TextView name;
        TextView value;
    };

    // Out of memory is taken for the end of the document, so that it is never shown with parts of
    // it missing; there are then no attributes.
    explicit Attributes(const Tag& tag);
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    // Null behind the first of the document.
    [[gnu::always_inline]] const Item* next() { return last_ != items_ ? --last_ : nullptr; }
    bool empty() const { return last_ == items_; }

  private:
    static constexpr uint32_t usual_count = 12;

    // Makes room, once and for all, for what `bytes` more of the tag can hold.
    bool grow(size_t bytes);

    // One more than counts: an attribute is read before there is need for more. Not filled
    // beforehand.
    alignas(Item) unsigned char usual_[(usual_count + 1) * sizeof(Item)];
    Item* items_ = reinterpret_cast<Item*>(usual_);
    Item* last_ = items_;  // behind the last one
    Owned<Item> block_;
};

// Whether `name` is this one. A name is compared as fnSC_STRICMP does, the document's text first.
bool is_named(TextView name, TextView known);

// Frees the texts that an element owns (MMSPs_Model).
void clear_element(tSMIL_Text& el);
void clear_element(tSMIL_Media& el);
void clear_element(tSMIL_Audio& el);

// Frees one element with everything it owns; null is ignored.
template <typename Element>
void free_element(Element* el) {
    if (el == nullptr) return;
    clear_element(*el);
    deallocate(el);
}

// Frees a list of regions; null is the empty list (MMSPs_Regions).
void free_regions(tSMIL_Region* list);

// Values of attributes (MMSPs_Values). A number is the leading integer of the text, with blanks
// and a sign before it, and saturates at the limits of int32; a time is in milliseconds. Null
// gives 0, and white for a colour.
int32_t number_value(TextView text);
int32_t time_value(TextView text);
uint32_t colour_value(TextView text);

// What the look-ups by name do, for a name that stands in the text: of texts, of images and videos,
// and of sounds. `look_up` keeps it for the next (take_part).
bool find_text(tSMIL_Text& el, TextView id, LookUp& look_up);
bool find_visual(tSMIL_Media& el, TextView id, LookUp& look_up);
bool find_audio(tSMIL_Audio& el, TextView id, LookUp& look_up);
bool find_region_rect(int32_t out[4], TextView id);

// SmilParseLayout into the caller's record.
void parse_layout(tSMIL_Layout& layout);

}  // namespace mmskit

#pragma GCC visibility pop
