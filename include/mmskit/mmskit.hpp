/**
 * @file
 * @brief The C interface for C++20: owners, spans, views of texts, ranges and results.
 *
 * Header only, without exceptions and run-time types, and no second model: a record is the record
 * of the C header, which stays its manual. What is new is who frees it (an owner, on every path),
 * how it is read (std::span, std::string_view, ranges) and how failure comes back (Result).
 *
 * Texts that go in are std::string_view and are copied; one ends at its first NUL. Bytes that go in
 * are borrowed for the call unless a function says longer. One thread uses the library; Anatomy and
 * Mended (libmmskit-anatomy) alone may be used from any.
 */
#ifndef MMSKIT_MMSKIT_HPP
#define MMSKIT_MMSKIT_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include <mmskit/anatomy.h>
#include <mmskit/mmskit.h>

/** Everything of this header. */
namespace mmskit {
/** Keeps the names apart from those inside the library. */
inline namespace cpp {

// ---- Results -----------------------------------------------------------------------------------

/** Bytes that are borrowed. */
using Bytes = std::span<const uint8_t>;

/** Why a call failed. */
struct Error {
    std::string_view reason;  ///< a sentence part without a full stop; a static text
    uint32_t offset = 0;      ///< in the input, of a decoder's refusal
    int32_t code = 0;         ///< of the composer: CPS_...
};

/** The result of a call that has nothing to give but success. */
struct Done {};

/** A value, or the reason why there is none. */
template <typename T>
class [[nodiscard]] Result {
  public:
    /** Success. */
    Result(T value) : value_(std::move(value)) {}
    /** Failure. */
    Result(Error error) : error_(error) {}

    /** Whether there is a value. */
    explicit operator bool() const { return value_.has_value(); }
    /** The value, which must be there. */
    T& operator*() & { return *value_; }
    /** The value, which must be there. */
    const T& operator*() const& { return *value_; }
    /** The value, which must be there. */
    T&& operator*() && { return std::move(*value_); }
    /** The value, which must be there. */
    T* operator->() { return &*value_; }
    /** The value, which must be there. */
    const T* operator->() const { return &*value_; }
    /** The reason, where there is no value. */
    const Error& error() const { return error_; }

  private:
    std::optional<T> value_;
    Error error_;
};

// ---- Texts and blocks --------------------------------------------------------------------------

/** A text of a record; empty for null. */
inline std::string_view text(const char* member) {
    return member != nullptr ? std::string_view(member) : std::string_view();
}

/** Bytes of a record; empty for null and for a length below 1. */
inline Bytes bytes(const uint8_t* member, int64_t length) {
    if (member == nullptr || length <= 0) return {};
    return {member, static_cast<std::size_t>(length)};
}

/** Frees a block of the library. */
struct FreeBlock {
    /** Frees it. */
    void operator()(void* block) const { fnSC_Free(&block); }
};

/** A NUL-terminated text of the library's memory. */
using Text = std::unique_ptr<char, FreeBlock>;

/** A new copy of a text; null when memory is out or the text is longer than a message can be. */
inline Text copy_text(std::string_view from) {
    from = from.substr(0, from.find('\0'));
    if (from.size() > INT32_MAX) return {};
    // A new block is zeroed, so the terminator is there.
    Text copy(static_cast<char*>(fnSC_Malloc_Local(static_cast<uint32_t>(from.size() + 1))));
    if (copy != nullptr && !from.empty()) std::memcpy(copy.get(), from.data(), from.size());
    return copy;
}

/** Gives a record a new text, which becomes the record's, and frees the one that was there.
 * @return false, the record as it was, when memory is out. */
[[nodiscard]] inline bool set_text(char*& member, std::string_view value) {
    Text copy = copy_text(value);
    if (copy == nullptr) return false;
    fnSC_Free(&member);
    member = copy.release();
    return true;
}

/** Bytes that the library made, and their owner. */
template <typename Free>
class Buffer {
  public:
    /** Takes what the library gave. */
    Buffer(uint8_t* data, uint32_t length) : data_(data), length_(length) {}
    /** The bytes, as long as the owner lives. */
    Bytes bytes() const { return {data_.get(), length_}; }
    /** Gives the block away, for a member of a record. */
    uint8_t* release() { return data_.release(); }

  private:
    std::unique_ptr<uint8_t, Free> data_;
    uint32_t length_;
};

/** Frees a PDU. */
struct FreePdu {
    /** Frees it. */
    void operator()(uint8_t* pdu) const { fnMMS_FreeMadeMsgPduBuf(pdu); }
};

using Pdu = Buffer<FreePdu>;     ///< an encoded message
using Body = Buffer<FreeBlock>;  ///< an encoded message body

/** What only this header's functions use. */
namespace detail {

inline constexpr Error out_of_memory{"out of memory"};
inline constexpr Error too_long{"longer than 2147483647 bytes"};

inline Error last_error() {
    Error error;
    error.reason = fnMMS_GetLastError(&error.offset);
    return error;
}

template <auto release>
struct Release {
    template <typename T>
    void operator()(T* record) const {
        release(record);
    }
};

}  // namespace detail

// ---- Message records ---------------------------------------------------------------------------

/** Frees a record of the kind MMS_KIND_... */
template <uint8_t kind>
struct FreeRecord {
    /** Frees it with all that it owns. */
    void operator()(void* record) const { fnMMS_FreeMessageMem(record, kind); }
};

/** A message record of pdu.h and its owner. */
template <typename T, uint8_t record_kind>
class Record : public std::unique_ptr<T, FreeRecord<record_kind>> {
  public:
    using std::unique_ptr<T, FreeRecord<record_kind>>::unique_ptr;

    /** A new record with the values that pdu.h names. */
    static Result<Record> make() {
        Record record(static_cast<T*>(fnMMS_AllocMessageMem(record_kind)));
        if (record == nullptr) return detail::out_of_memory;
        return record;
    }
};

using SendReq = Record<tMMS_SendReq, MMS_KIND_SEND_REQ>;     ///< m-send-req
using SendConf = Record<tMMS_SendConf, MMS_KIND_SEND_CONF>;  ///< m-send-conf
using NotificationInd =
    Record<tMMS_NotificationInd, MMS_KIND_NOTIFICATION_IND>;             ///< m-notification-ind
using RetrieveConf = Record<tMMS_RetrieveConf, MMS_KIND_RETRIEVE_CONF>;  ///< m-retrieve-conf
using DeliveryInd = Record<tMMS_DeliveryInd, MMS_KIND_DELIVERY_IND>;     ///< m-delivery-ind
using ReadRecInd = Record<tMMS_ReadRecInd, MMS_KIND_READ_REC_IND>;       ///< m-read-rec-ind
using ReadOrigInd = Record<tMMS_ReadOrigInd, MMS_KIND_READ_ORIG_IND>;    ///< m-read-orig-ind
using ForwardReq = Record<tMMS_ForwardReq, MMS_KIND_FORWARD_REQ>;        ///< m-forward-req
using ForwardConf = Record<tMMS_SendConf, MMS_KIND_FORWARD_CONF>;        ///< m-forward-conf

namespace detail {

template <typename Owner, auto decode>
Result<Owner> decoded(Bytes pdu) {
    if (pdu.size() > INT32_MAX) return too_long;
    Owner record(decode(pdu.data(), static_cast<int32_t>(pdu.size())));
    if (record == nullptr) return last_error();
    return record;
}

template <auto encode, typename... Arguments>
Result<Pdu> encoded(Arguments... arguments) {
    uint32_t length = 0;
    uint8_t* const pdu = encode(arguments..., &length);
    if (pdu == nullptr) return Error{"a value that is required is missing, or out of memory"};
    return Pdu(pdu, length);
}

}  // namespace detail

/** fnMMS_ParseRetrieveConf. */
inline Result<RetrieveConf> parse_retrieve_conf(Bytes pdu) {
    return detail::decoded<RetrieveConf, fnMMS_ParseRetrieveConf>(pdu);
}
/** fnMMS_ParseSendConf. */
inline Result<SendConf> parse_send_conf(Bytes pdu) {
    return detail::decoded<SendConf, fnMMS_ParseSendConf>(pdu);
}
/** fnMMS_ParseForwardConf. */
inline Result<ForwardConf> parse_forward_conf(Bytes pdu) {
    return detail::decoded<ForwardConf, fnMMS_ParseForwardConf>(pdu);
}
/** fnMMS_ParseNotificationInd. */
inline Result<NotificationInd> parse_notification_ind(Bytes pdu) {
    return detail::decoded<NotificationInd, fnMMS_ParseNotificationInd>(pdu);
}
/** fnMMS_ParseDeliveryInd. */
inline Result<DeliveryInd> parse_delivery_ind(Bytes pdu) {
    return detail::decoded<DeliveryInd, fnMMS_ParseDeliveryInd>(pdu);
}
/** fnMMS_ParseReadOrigInd. */
inline Result<ReadOrigInd> parse_read_orig_ind(Bytes pdu) {
    return detail::decoded<ReadOrigInd, fnMMS_ParseReadOrigInd>(pdu);
}
/** fnMMS_ParseSendContent: a send request read back. */
inline Result<SendReq> parse_send_req(Bytes pdu) {
    return detail::decoded<SendReq, fnMMS_ParseSendContent>(pdu);
}

/** Gives a send request its body, and frees the one that was there. */
inline void set_body(SendReq& request, Body body) {
    fnSC_Free(&request->pContent);
    request->iContentLen = static_cast<uint32_t>(body.bytes().size());
    request->pContent = body.release();
}

/** The body of a retrieved message, as long as the record lives. */
inline Bytes body_of(const RetrieveConf& message) {
    return bytes(message->pBody, message->iBodyLen);
}
Bytes body_of(RetrieveConf&&) = delete;

/** fnMMS_MakeSendMessagePdu. */
inline Result<Pdu> encode(const SendReq& request) {
    return detail::encoded<fnMMS_MakeSendMessagePdu, const tMMS_SendReq*>(request.get());
}
/** fnMMS_MakeFWDMessagePdu. */
inline Result<Pdu> encode(const ForwardReq& request) {
    return detail::encoded<fnMMS_MakeFWDMessagePdu, const tMMS_ForwardReq*>(request.get());
}
/** fnMMS_MakeReadRecIndPdu. */
inline Result<Pdu> encode(const ReadRecInd& report) {
    return detail::encoded<fnMMS_MakeReadRecIndPdu, const tMMS_ReadRecInd*>(report.get());
}
/** An m-notifyresp-ind: fnMMS_MakeNotifyRespPdu with MMS_STATUS_... */
inline Result<Pdu> notify_response(std::string_view tid, bool report_allowed, int32_t status) {
    const Text id = copy_text(tid);
    return detail::encoded<fnMMS_MakeNotifyRespPdu, const char*>(id.get(), report_allowed, status);
}
/** An m-acknowledge-ind: fnMMS_MakeAcknowledgePdu. */
inline Result<Pdu> acknowledge(std::string_view tid, bool report_allowed) {
    const Text id = copy_text(tid);
    return detail::encoded<fnMMS_MakeAcknowledgePdu, const char*>(id.get(), report_allowed);
}
/** A read report as a message: fnMMS_MakeReadReportPdu. */
inline Result<Pdu> read_report(std::string_view tid, std::string_view to,
                               std::string_view subject) {
    const Text id = copy_text(tid), address = copy_text(to), title = copy_text(subject);
    return detail::encoded<fnMMS_MakeReadReportPdu, const char*>(id.get(), address.get(),
                                                                 title.get());
}

// ---- Ranges ------------------------------------------------------------------------------------

/** A range over a list of the library, whose nodes are linked by the member `next`. A Value is a
 * reference to a node, or is made of its address. */
template <typename Node, typename Value, auto next>
class Chain {
  public:
    /** A forward iterator. */
    class iterator {
      public:
        using value_type = std::remove_cvref_t<Value>;       ///< what it stands on
        using difference_type = std::ptrdiff_t;              ///< unused
        using iterator_concept = std::forward_iterator_tag;  ///< for C++20
        using iterator_category = std::input_iterator_tag;   ///< for older algorithms
        iterator() = default;                                ///< past the end
        explicit iterator(Node* node) : node_(node) {}       ///< on a node
        /** What it stands on. */
        Value operator*() const {
            if constexpr (std::is_reference_v<Value>)
                return *node_;
            else
                return Value(node_);
        }
        /** To the next one. */
        iterator& operator++() {
            node_ = node_->*next;
            return *this;
        }
        /** To the next one. */
        iterator operator++(int) { return std::exchange(*this, iterator(node_->*next)); }
        bool operator==(const iterator&) const = default;  ///< on the same node

      private:
        Node* node_ = nullptr;
    };

    Chain() = default;                                   ///< an empty range
    explicit Chain(Node* first) : first_(first) {}       ///< from a node on
    iterator begin() const { return iterator(first_); }  ///< the first one
    iterator end() const { return {}; }                  ///< past the last one
    bool empty() const { return first_ == nullptr; }     ///< whether there is none

  private:
    Node* first_ = nullptr;
};

/** The parts of a decoded body. */
using PartRange = Chain<const tMMS_MediaData, const tMMS_MediaData&, &tMMS_MediaData::pNext>;

/** The parts of a body as fnMMS_GetMediaDataFromPdu splits it. The body must outlive it. */
class Content {
  public:
    /** Splits a body, which is borrowed. */
    static Result<Content> split(Bytes body) {
        if (body.size() > INT32_MAX) return detail::too_long;
        Content content;
        content.union_.reset(
            fnMMS_GetMediaDataFromPdu(body.data(), static_cast<int32_t>(body.size())));
        if (content.union_ == nullptr) return detail::last_error();
        return content;
    }
    /** The parts but for the presentation. */
    PartRange parts() const { return PartRange(union_->pMediaList); }
    /** The presentation; empty without one. */
    Bytes smil() const {
        const tMMS_SmilPart* part = union_->pSmil;
        return part != nullptr ? bytes(part->pData, part->iDataLen) : Bytes();
    }

  private:
    std::unique_ptr<tMMS_ContentUnion, detail::Release<fnMMS_FreeMediaData>> union_;
};

// ---- The slide view ----------------------------------------------------------------------------

/** A slide of a view; it is good as long as the view is. */
class Slide {
  public:
    /** A slide of tSMIL_ViewStruct. */
    explicit Slide(tSMIL_Par* par) : par_(par) {}

    /** In milliseconds; 0 when none was given. */
    int32_t duration() const { return par_->Dur; }
    /** The text, if there is one. */
    std::optional<tPAR_Text> text() const { return got<tPAR_Text>(fnPAR_GetCurParText); }
    /** The image, if there is one. */
    std::optional<tPAR_Image> image() const { return got<tPAR_Image>(fnPAR_GetCurParImg); }
    /** The sound, if there is one. */
    std::optional<tPAR_Audio> audio() const { return got<tPAR_Audio>(fnPAR_GetCurParAudio); }
    /** The video, if there is one. */
    std::optional<tPAR_Video> video() const { return got<tPAR_Video>(fnPAR_GetCurParVideo); }
    /** The colour behind the slide, its own or the layout's. */
    std::optional<uint32_t> background() const { return got<uint32_t>(fnPAR_GetCurParBgColor); }
    /** The colour of its text. */
    std::optional<uint32_t> foreground() const { return got<uint32_t>(fnPAR_GetCurParForeColor); }

  private:
    template <typename T>
    std::optional<T> got(int32_t (*get)(T*)) const {
        tSMIL_ViewStruct.CurPar = par_;
        T out{};
        if (get(&out) == 0) return std::nullopt;
        return out;
    }

    tSMIL_Par* par_;
};

/** The slides of a view. */
using SlideRange = Chain<tSMIL_Par, Slide, &tSMIL_Par::Next>;

/** The one view that the library has. A view that is opened while another is there, and
 * Composition::reedit, end the other one: it then has no slide and no attachment. */
class SlideView {
  public:
    /** Lays a body out (fnPAR_SmilParserEntry). The body is borrowed as long as the view lives. */
    static Result<SlideView> open(Bytes body) {
        if (body.size() > INT32_MAX) return detail::too_long;
        if (body.empty()) return Error{"no body"};
        const uint32_t mine = ++newest;
        if (fnPAR_SmilParserEntry(body.data(), static_cast<int32_t>(body.size())) == 0) {
            const Error error = detail::last_error();
            (void)fnPAR_SmilFree();
            return error;
        }
        return SlideView(mine);
    }
    /** Lays a retrieved message out, which is borrowed as long as the view lives. */
    static Result<SlideView> open(const RetrieveConf& message) { return open(body_of(message)); }
    static Result<SlideView> open(RetrieveConf&&) = delete;

    /** Takes another's place. */
    SlideView(SlideView&& other) noexcept
        : mine_(std::exchange(other.mine_, 0)), left_out_(other.left_out_) {}
    /** Takes another's place, and it this one's. */
    SlideView& operator=(SlideView&& other) noexcept {
        std::swap(mine_, other.mine_);
        std::swap(left_out_, other.left_out_);
        return *this;
    }
    SlideView(const SlideView&) = delete;
    SlideView& operator=(const SlideView&) = delete;
    ~SlideView() {
        if (current()) (void)fnPAR_SmilFree();
    }

    /** Whether it is still what the library holds. */
    bool current() const { return mine_ != 0 && mine_ == newest; }
    /** The slides in their order. */
    SlideRange slides() const { return SlideRange(current() ? tSMIL_ViewStruct.ParList : nullptr); }
    /** The number of attachments. */
    int32_t attachments() const { return current() ? fnPAR_GetTotalAttachments() : 0; }
    /** An attachment, counted from 0. */
    std::optional<tPAR_Attachment> attachment(int32_t index) const {
        tPAR_Attachment out{};
        if (!current() || fnPAR_GetAttachment(&out, index) == 0) return std::nullopt;
        return out;
    }
    /** What was left out of the view, if anything. */
    std::optional<Error> left_out() const { return left_out_; }

  private:
    friend class Composition;

    explicit SlideView(uint32_t mine) : mine_(mine) {
        const Error error = detail::last_error();
        if (error.reason != "no error") left_out_ = error;
    }

    static inline uint32_t newest = 0;
    uint32_t mine_;
    std::optional<Error> left_out_;
};

// ---- The composition ---------------------------------------------------------------------------

/** A picture, sound, video or file to be composed; it is copied. */
struct Medium {
    Bytes data;                                 ///< its bytes
    std::string_view type;                      ///< "image/jpeg"
    std::string_view name;                      ///< "sunset.jpg"
    int32_t begin = 0;                          ///< milliseconds from the slide's start
    std::optional<int32_t> end = std::nullopt;  ///< to the slide's end when not given
};

/** The one composition that the library has; it acts on its newest slide. It begins with one empty
 * slide. A refusal of the composer has its code in the Error. */
class Composition {
  public:
    /** Opens the composer on an empty message; CPS_IN_USE while another is open. */
    static Result<Composition> create() { return opened(fnCPS_NewMms()); }
    /** Opens it on what a received body holds, which is copied; its last slide is the newest. */
    static Result<Composition> reedit(Bytes body) {
        if (body.size() > INT32_MAX) return detail::too_long;
        const int32_t code = fnCPS_ReEditMms(body.data(), static_cast<int32_t>(body.size()));
        if (code != CPS_IN_USE) {
            ++SlideView::newest;
            (void)fnPAR_SmilFree();
        }
        while (code == CPS_OK && fnCPS_GoNextSlide() == CPS_OK) {
        }
        return opened(code);
    }

    /** Takes another's place. */
    Composition(Composition&& other) noexcept : open_(std::exchange(other.open_, false)) {}
    /** Takes another's place, and it this one's. */
    Composition& operator=(Composition&& other) noexcept {
        std::swap(open_, other.open_);
        return *this;
    }
    Composition(const Composition&) = delete;
    Composition& operator=(const Composition&) = delete;
    ~Composition() {
        if (open_) fnCPS_Quit();
    }

    /** A further slide. */
    Result<Done> add_slide() { return done(fnCPS_AddSlide()); }
    /** How long the slide is shown, in milliseconds. */
    Result<Done> set_duration(int32_t ms) { return done(fnCPS_SetCurSlideDuration(ms)); }
    /** The colour behind the slide, 0xRRGGBB. */
    void set_background(uint32_t rgb) { fnCPS_SetCurBgColor(rgb); }
    /** The colour of its text, 0xRRGGBB. */
    void set_foreground(uint32_t rgb) { fnCPS_SetCurForeColor(rgb); }

    /** The text of the slide, UTF-8, for all of its time. */
    Result<Done> add_text(std::string_view value) {
        const Text copy = copy_text(value);
        if (copy == nullptr) return failed(CPS_NO_MEMORY);
        CPSTextInfo info{};
        info.pText = copy.get();
        info.iLength = static_cast<uint32_t>(std::strlen(copy.get()));
        info.iEnd = fnCPS_GetCurSlideDuration();
        return done(fnCPS_AddText(&info));
    }
    /** The image of the slide. */
    Result<Done> add_image(const Medium& medium) { return add(medium, fnCPS_AddImage); }
    /** The sound of the slide. */
    Result<Done> add_audio(const Medium& medium) { return add(medium, fnCPS_AddAudio); }
    /** The video of the slide. */
    Result<Done> add_video(const Medium& medium) { return add(medium, fnCPS_AddVideo); }
    /** An attachment; the times of the medium do not count. */
    Result<Done> attach(const Medium& medium) { return add(medium, fnCPS_AddAttachment); }

    /** The message's body, for set_body. */
    Result<Body> body() const {
        uint32_t length = 0;
        uint8_t* const made = fnCPS_GetMmsContentPdu(&length);
        if (made == nullptr) return Error{"the composition is incomplete, or out of memory"};
        return Body(made, length);
    }

  private:
    Composition() : open_(true) {}

    static Error failed(int32_t code) {
        constexpr std::pair<int32_t, std::string_view> reasons[] = {
            {CPS_NO_MEMORY, "out of memory, or too large"},
            {CPS_IN_USE, "a composition is open already"},
            {CPS_MEDIUM_PRESENT, "the slide has one already"},
            {CPS_SLIDE_HAS_VIDEO, "the slide has a video"},
            {CPS_SLIDE_HAS_IMAGE_OR_AUDIO, "the slide has an image or a sound"},
            {CPS_LIMIT_REACHED, "there are ten already"},
            {CPS_NOT_A_MESSAGE, "not a message that can be read"},
            {CPS_BAD_ARGUMENT, "a value is missing or out of range"},
            {CPS_BAD_INDEX, "the layout of the message broke off"},
        };
        Error error{"refused by the composer", 0, code};
        for (const auto& [each, reason] : reasons)
            if (each == code) error.reason = reason;
        return error;
    }
    static Result<Done> done(int32_t code) {
        if (code != CPS_OK) return failed(code);
        return Done();
    }
    static Result<Composition> opened(int32_t code) {
        if (code != CPS_OK) return failed(code);
        return Composition();
    }
    template <typename Info>
    static Result<Done> add(const Medium& medium, int32_t (*call)(const Info*)) {
        const Text type = copy_text(medium.type), name = copy_text(medium.name);
        if (type == nullptr || name == nullptr || medium.data.size() > INT32_MAX)
            return failed(CPS_NO_MEMORY);
        Info info{};
        // The composer copies; its records have members that it could write to and does not.
        info.pData = const_cast<uint8_t*>(medium.data.data());
        info.iSize = static_cast<uint32_t>(medium.data.size());
        info.pType = type.get();
        info.pName = name.get();
        if constexpr (requires { info.iBegin; }) {
            info.iBegin = medium.begin;
            info.iEnd = medium.end.value_or(fnCPS_GetCurSlideDuration());
        }
        return done(call(&info));
    }

    bool open_;
};

// ---- The tolerant side (libmmskit-anatomy) -----------------------------------------------------

/** The message that fnMMS_Mend writes. The anatomy and its input must outlive it. */
class Mended {
  public:
    /** The message for the exact decoders; empty when there is none. */
    Bytes data() const { return bytes(mended_->pData, mended_->iLength); }
    /** Its body, for SlideView::open; empty without one. */
    Bytes body() const { return data().empty() ? Bytes() : data().subspan(mended_->iBody); }
    /** Whether it is not what came. */
    bool changed() const { return mended_->bChanged != 0; }
    /** The parts in the order of the mended body. */
    std::span<const tMMS_MendedPart> parts() const { return {mended_->pParts, mended_->iParts}; }
    /** What is wrong with the message, and what mending did. */
    std::span<const tMMS_Note> notes() const { return {mended_->pNotes, mended_->iNotes}; }

  private:
    friend class Anatomy;
    std::unique_ptr<tMMS_Mended, detail::Release<fnMMS_FreeMended>> mended_;
};

/** What fnMMS_Dissect makes of any bytes. They must outlive it, and stay as they are. */
class Anatomy {
  public:
    /** Takes bytes apart, which are borrowed as long as the anatomy lives. */
    static Result<Anatomy> dissect(Bytes input) {
        if (input.size() > UINT32_MAX) return Error{"longer than 4294967295 bytes"};
        Anatomy anatomy;
        anatomy.anatomy_.reset(fnMMS_Dissect(input.data(), static_cast<uint32_t>(input.size())));
        if (anatomy.anatomy_ == nullptr) return detail::out_of_memory;
        return anatomy;
    }

    /** The record itself. */
    const tMMS_Anatomy* operator->() const { return anatomy_.get(); }
    /** "m-retrieve-conf"; empty when there is no message. */
    std::string_view kind() const { return anatomy_->pKind; }
    /** "an HTML page"; empty when there is a message. */
    std::string_view looks_like() const { return anatomy_->pLooksLike; }
    /** The header fields of the message. */
    std::span<const tMMS_HeaderField> headers() const {
        return {anatomy_->pHeaders, anatomy_->iHeaders};
    }
    /** The leaf parts of its body. */
    std::span<const tMMS_Part> parts() const { return {anatomy_->pParts, anatomy_->iParts}; }
    /** Every place of it. */
    std::span<const tMMS_Node> nodes() const { return {anatomy_->pNodes, anatomy_->iNodes}; }
    /** What is wrong with it. */
    std::span<const tMMS_Note> notes() const { return {anatomy_->pNotes, anatomy_->iNotes}; }
    /** What it lay in. */
    std::span<const tMMS_Layer> layers() const { return {anatomy_->pLayers, anatomy_->iLayers}; }

    /** The message for the exact decoders. The anatomy must outlive it. */
    Result<Mended> mend() const& {
        Mended mended;
        mended.mended_.reset(fnMMS_Mend(anatomy_.get()));
        if (mended.mended_ == nullptr) return detail::out_of_memory;
        return mended;
    }
    Result<Mended> mend() && = delete;

  private:
    std::unique_ptr<tMMS_Anatomy, detail::Release<fnMMS_FreeAnatomy>> anatomy_;
};

// ---- Push documents ----------------------------------------------------------------------------

/** A service indication and its owner. */
using ServiceIndication = std::unique_ptr<tPush_SiContent, detail::Release<fnMMSPush_FreeSic>>;
/** A service loading and its owner. */
using ServiceLoading = std::unique_ptr<tPush_SlContent, detail::Release<fnMMSPush_FreeSlc>>;

/** A service indication in WBXML; null when it cannot be decoded. */
inline ServiceIndication decode_si(Bytes document) {
    if (document.size() > INT32_MAX) return {};
    return ServiceIndication(
        fnMMSPush_DecodeSic(document.data(), static_cast<uint32_t>(document.size())));
}
/** A service loading in WBXML; null when it cannot be decoded. */
inline ServiceLoading decode_sl(Bytes document) {
    if (document.size() > INT32_MAX) return {};
    return ServiceLoading(
        fnMMSPush_DecodeSlc(document.data(), static_cast<uint32_t>(document.size())));
}

}  // namespace cpp
}  // namespace mmskit

#endif
