// What receiving costs: headers and body of a real message, and messages of many parts and slides,
// whose time a part must stay the same at any number (the last column, parts a second); of numbered
// slides up to the some 2,900 references that can be looked up.
#include <benchmark/benchmark.h>
#include <mmskit/mmskit.h>

#include <cstdio>
#include <string>

#include "tests/support/bytes.h"

namespace {

using testing_support::part;
using testing_support::uintvar;

constexpr uint8_t retrieve_conf = 4;

const uint8_t* bytes_of(const std::string& s) {
    return reinterpret_cast<const uint8_t*>(s.data());
}

void show(const std::string& body) {
    fnPAR_SmilParserEntry(bytes_of(body), static_cast<int32_t>(body.size()));
    fnPAR_InitCurPar();
    tPAR_Image image{};
    do
        benchmark::DoNotOptimize(fnPAR_GetCurParImg(&image));
    while (fnPAR_ProceedNextPar() != 0);
    fnPAR_SmilFree();
}

// `count` pictures, each on a slide of its own, with the numbered names that phones give.
std::string numbered_message(int64_t count) {
    std::string parts;
    std::string smil = "<smil><body>";
    char name[16];
    for (int64_t i = 0; i < count; ++i) {
        std::snprintf(name, sizeof name, "img%06d.jpg", static_cast<int>(i));
        parts += part(std::string("\x9E\x8E") + name + '\0', "x");
        smil += std::string("<par dur=\"5s\"><img src=\"") + name + "\"/></par>";
    }
    smil += "</body></smil>";
    return "\x84\xB3" + uintvar(static_cast<uint64_t>(count) + 1) +
           part(std::string("application/smil") + '\0', smil) + parts;
}

void retrieve_postcard(benchmark::State& state) {
    const std::string pdu = testing_support::file_bytes("examples/postcard.mms");
    if (pdu.empty()) state.SkipWithError("run it in the root of the project");
    for (auto _ : state) {
        tMMS_RetrieveConf* message =
            fnMMS_ParseRetrieveConf(bytes_of(pdu), static_cast<int32_t>(pdu.size()));
        fnPAR_SmilParserEntry(message->pBody, static_cast<int32_t>(message->iBodyLen));
        fnPAR_SmilFree();
        fnMMS_FreeMessageMem(message, retrieve_conf);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(pdu.size()));
}
BENCHMARK(retrieve_postcard);

void show_numbered_slides(benchmark::State& state) {
    const std::string body = numbered_message(state.range(0));
    for (auto _ : state)
        show(body);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(show_numbered_slides)->RangeMultiplier(10)->Range(10, 1000);

void one_long_tag(benchmark::State& state) {
    std::string smil = "<smil><body><par ";
    for (int64_t i = 0; i < state.range(0); ++i)
        smil += "dur=\"5s\" ";
    smil += "></par></body></smil>";
    const std::string body =
        std::string("\x84\xB3\x01") + part(std::string("application/smil") + '\0', smil);
    for (auto _ : state)
        show(body);
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(one_long_tag)->RangeMultiplier(10)->Range(10, 100000);

}  // namespace
