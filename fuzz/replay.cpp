// Runs the targets on the files of the folders REGRESSIONS and CORPUS, in folders called after
// their targets, with each allocation failing in turn, for the first folder's really each. A log is
// kept, so that what would be told a host's developer is made.
#include <cstdio>
#include <filesystem>

#include "fuzz/harness.h"
#include "tests/support/bytes.h"

constexpr uint64_t most_failures = 100;  // of an input

int main(int argc, char** argv) {
    int runs = 0;
    fnSC_SetLogSink([](const char*, void*) {}, nullptr);
    for (int i = 1; i < argc; ++i)
        for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
            if (!entry.is_regular_file()) continue;
            const auto target = entry.path().parent_path().filename();
            if (!fuzz::choose(target.c_str(), true)) continue;
            (void)std::printf("%s\n", entry.path().c_str());  // the last one told is the culprit
            (void)std::fflush(stdout);
            const fuzz::Exact input(testing_support::file_bytes(entry.path()));
            const fuzz::Bytes bytes(input.data.get(), size_t(input.length));
            if (bytes.size() < 2) continue;
            fuzz::run(bytes.subspan(2), 0, i == 1 ? UINT64_MAX : most_failures);
            ++runs;
        }
    (void)std::printf("%d inputs\n", runs);
    return runs == 0 ? 1 : 0;
}
