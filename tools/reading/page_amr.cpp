// AMR narrow-band speech, which phones send and no browser plays, decoded by opencore-amr where
// that was there when this was built. The file format is RFC 4867 section 5: a magic line, then
// frames of 20 ms whose first octet tells their size.
#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "reading/page_media.h"

#ifdef MMSKIT_HAVE_AMR
#include <opencore-amrnb/interf_dec.h>
#endif

namespace mmskit_tool {

#ifdef MMSKIT_HAVE_AMR
namespace {

constexpr uint32_t sample_rate = 8000;
constexpr std::size_t frame_samples = 160;
constexpr std::size_t wav_header = 44;
// Octets behind the first one by frame type; 9 to 14 are not speech of this codec.
constexpr std::array<int, 16> frame_sizes{12, 13, 15, 17, 19, 20, 26, 31,
                                          5,  -1, -1, -1, -1, -1, -1, 0};

struct DecoderExit {
    void operator()(void* decoder) const { Decoder_Interface_exit(decoder); }
};

void put(std::vector<uint8_t>& out, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void put(std::vector<uint8_t>& out, std::string_view text) {
    out.insert(out.end(), text.begin(), text.end());
}

std::vector<uint8_t> wav_start(std::size_t frames) {
    const auto data = static_cast<uint32_t>(frames * frame_samples * 2);
    std::vector<uint8_t> wav;
    wav.reserve(wav_header + data);
    put(wav, "RIFF"), put(wav, data + 36, 4), put(wav, "WAVEfmt "), put(wav, 16, 4);
    put(wav, 1, 2), put(wav, 1, 2), put(wav, sample_rate, 4), put(wav, sample_rate * 2, 4);
    put(wav, 2, 2), put(wav, 16, 2), put(wav, "data"), put(wav, data, 4);
    return wav;
}

// The whole frames at the beginning; a damaged or cut one ends them.
std::vector<std::size_t> frame_starts(std::span<const uint8_t> amr, std::size_t most) {
    std::vector<std::size_t> starts;
    for (std::size_t at = 6; at < amr.size() && starts.size() <= most;) {
        const int size = frame_sizes[(amr[at] >> 3U) & 15U];
        if (size < 0 || amr.size() - at <= static_cast<std::size_t>(size)) break;
        starts.push_back(at);
        at += static_cast<std::size_t>(size) + 1;
    }
    return starts;
}

}  // namespace

bool can_decode_amr() {
    return true;
}

std::optional<std::vector<uint8_t>> amr_to_wav(std::span<const uint8_t> amr, std::size_t limit) {
    const std::size_t most = limit > wav_header ? (limit - wav_header) / (frame_samples * 2) : 0;
    const std::vector<std::size_t> starts = frame_starts(amr, most);
    if (starts.empty() || starts.size() > most) return {};
    const std::unique_ptr<void, DecoderExit> decoder(Decoder_Interface_init());
    if (!decoder) return {};
    std::vector<uint8_t> wav = wav_start(starts.size());
    for (const std::size_t start : starts) {
        std::array<uint8_t, 32> frame{};  // the decoder looks at the octets of the largest
        std::copy_n(amr.begin() + static_cast<std::ptrdiff_t>(start),
                    std::min(frame.size(), amr.size() - start), frame.begin());
        std::array<int16_t, frame_samples> samples{};
        Decoder_Interface_Decode(decoder.get(), frame.data(), samples.data(), 0);
        for (const int16_t sample : samples)
            put(wav, static_cast<uint16_t>(sample), 2);
    }
    return wav;
}
#else
bool can_decode_amr() {
    return false;
}

std::optional<std::vector<uint8_t>> amr_to_wav(std::span<const uint8_t>, std::size_t) {
    return {};
}
#endif

}  // namespace mmskit_tool
