// What the units of the presentation share: the module state, the element model and tag scanner
// (MMSPs_Model, MMSPs_Regions, MMSPs_Input), the document parser (MMSPs_Parse, MMSPs_Values) and
// the media look-up (MMSPs_Media). Not for hosts; the named routines have C linkage so that a test
// can link them.
#pragma once

#include <mmskit/pdu.h>
#include <mmskit/presentation.h>
#include <mmskit/runtime.h>

#include <cstdint>

#include "scshare/common/src/owned.h"

namespace mmskit {

struct MediaIndex;   // MMSPs_MediaIndex: finds parts by name in a large message
struct RegionIndex;  // MMSPs_Regions: finds regions by id in a large layout

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
    uint64_t copy_budget;
    // Names compared so far for references into this message (limits::media_walk_plain).
    uint64_t media_work;
    MediaIndex* media_index;
    RegionIndex* region_index;
};

extern ParserState parser_state;

// Releases the indexes and makes the state all-zero. The view's records and the union are
// released before by SmilParserClean and fnMMS_FreeMediaData.
void reset_parser_state();

// MMSPs_MediaIndex.
void free_media_index(MediaIndex* index);

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

struct TagFree {
    void operator()(tSMIL_Tag* tag) const { SmilFreeTagStruct(tag); }
};
using OwnedTag = Owned<tSMIL_Tag, TagFree>;

// Puts the cursor at the end of its text.
void exhaust_cursor();

// Splits one tag text as SmilParseTag does. False only when memory ran out; a text that is no
// tag gives true and a null tag (MMSPs_Input).
[[nodiscard]] bool split_tag(const char* text, tSMIL_Tag*& tag);

// Frees the texts that an element owns (MMSPs_Model).
void clear_element(tSMIL_Text& el);
void clear_element(tSMIL_Media& el);
void clear_element(tSMIL_Audio& el);

// Frees one element with everything it owns; null is ignored.
template <typename Element>
void free_element(Element* el) {
    if (el == nullptr) return;
    clear_element(*el);
    fnSC_Free(&el);
}

// Frees a list of regions; null is the empty list (MMSPs_Regions).
void free_regions(tSMIL_Region* list);

// Forgets the region index; called whenever RegionList changes (MMSPs_Regions).
void forget_region_index();

// Values of attributes (MMSPs_Values). A number is the leading integer of the text, with blanks
// and a sign before it, and saturates at the limits of int32; a time is in milliseconds. Null
// gives 0.
int32_t number_value(const char* text);
int32_t time_value(const char* text);

}  // namespace mmskit
