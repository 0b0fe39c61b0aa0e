// What the units of the composer share: the helpers on the composition's state (MMSCps_Public),
// the four kinds of media behind one table (MMSCps_Media), the attachment slots (MMSCps_Attach)
// and the ways out and in (MMSCps_CreatSmil, MMSCps_ReEdit). Not for hosts; the named routines
// have C linkage so that a test can link them.
#pragma once

#include <mmskit/composer.h>
#include <mmskit/pdu.h>

#include <cstdint>

#pragma GCC visibility push(hidden)

extern "C" {

// CPS_OK, or CPS_IN_USE with nothing changed while the composer is taken.
int32_t CPSGetModule(void);
void CPSReleaseModule(void);

// The state as one empty slide; frees nothing. Always CPS_OK.
int32_t CPSInitNewMMStruct(void);
void CPSEmptyNewMMStruct(void);
// Init overwrites without freeing, Clear frees and keeps the colours; null is ignored.
void CPSInitSlideStruct(CPSSlideStruct* slide);
void CPSClearSlideStruct(CPSSlideStruct* slide);
void CPSCopySlideStruct(CPSSlideStruct* src, CPSSlideStruct* dst);
void CPSInitAttachment(CPSAttachment* attachment);
void CPSClearAttachment(CPSAttachment* attachment);

// 1 or 0.
int32_t CPSCurIsTheFirstSlide(void);
int32_t CPSCurIsTheLastSlide(void);
int32_t CPSCheckNewMMStruct(void);

// The presentation, NUL-terminated and new, or null. Corrects timings in the composition.
char* CPSCreateSmil(void);
// A new union, freed with fnMMS_FreeContentUnion; it borrows from the composition. Null when the
// composition is incomplete or memory is out.
tMMS_ContentUnion* CPSRes2StructLink(void);

int32_t CPSFillStructWithCurMM(const uint8_t* pdu, int32_t len);

}  // extern "C"

namespace mmskit {

inline constexpr int32_t default_slide_ms = 12000;
inline constexpr int32_t default_end_ms = 5000;
inline constexpr char plain_text_type[] = "text/plain";

// ---- Slides -------------------------------------------------------------------------------

// Slide `index` when it is in use, else null.
CPSSlideStruct* used_slide(uint32_t index);
CPSSlideStruct* current_slide();

// ---- Media --------------------------------------------------------------------------------

// Where a kind of medium lies in a slide, and what it may stand beside. A text has no type, no name
// and no layout of bytes: its content is `text` instead of `data`.
struct MediumKind {
    uint8_t CPSSlideStruct::*present;
    uint8_t* CPSSlideStruct::*data;
    char* CPSSlideStruct::*text;
    char* CPSSlideStruct::*type;
    char* CPSSlideStruct::*name;
    int32_t CPSSlideStruct::*size;
    int32_t CPSSlideStruct::*begin;
    int32_t CPSSlideStruct::*end;
    int32_t (CPSSlideStruct::*layout)[4];
    int32_t beside_video;  // result when the slide holds a video; CPS_OK: allowed
    int32_t beside_image_or_audio;
};

extern const MediumKind image_kind;
extern const MediumKind text_kind;
extern const MediumKind audio_kind;
extern const MediumKind video_kind;
extern const MediumKind* const media_kinds[4];

struct MediaSource {
    const void* data;
    uint32_t size;
    const char* type;  // null counts as empty, likewise the name
    const char* name;
    int32_t begin, end;
    const int32_t* layout;  // null: zeros
};

// Copies the medium onto a slide that has none of the kind and counts its size. False, with
// nothing changed, when it cannot be copied.
[[nodiscard]] bool store_medium(CPSSlideStruct& slide, const MediumKind& kind,
                                const MediaSource& source);
void clear_medium(CPSSlideStruct& slide, const MediumKind& kind);
void move_medium(CPSSlideStruct& from, CPSSlideStruct& to, const MediumKind& kind);
// True when what a message needs of the medium is there.
bool medium_is_complete(const CPSSlideStruct& slide, const MediumKind& kind);

// ---- Attachments --------------------------------------------------------------------------

// The slot, or null for an index that is none.
CPSAttachment* attachment_slot(int32_t index);

// Copies into the slot and counts the size, freeing what stood there and its share of the total.
// False leaves the slot with the size alone.
[[nodiscard]] bool fill_attachment_slot(CPSAttachment& slot, const CPSAttachmentInfo& info);

}  // namespace mmskit

#pragma GCC visibility pop
