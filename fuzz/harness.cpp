#include "fuzz/harness.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>

#include "scshare/common/src/alloc_hook.h"

namespace {

namespace fs = std::filesystem;

const fuzz::Target* target;
bool short_of_memory;
bool new_fails;

struct News {  // of C++, as the library's hook counts its own
    bool counted;
    int64_t live;
    uint64_t asked, failing;
    bool persistent;
} news;

void* new_block(size_t size) {
    if (news.counted) {
        ++news.asked;
        if (news.asked == news.failing || (news.persistent && news.asked > news.failing))
            throw std::bad_alloc();
        ++news.live;
    }
    void* block = std::malloc(size != 0 ? size : 1);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void free_new(void* block) noexcept {
    if (news.counted && block != nullptr) --news.live;
    std::free(block);
}

[[noreturn]] void fail(const char* what) {
    (void)std::fprintf(stderr, "FUZZ_TARGET=%s: %s\n", target->name, what);
    std::abort();
}

// The allocation that fails, counted from 1, the library's before those of `new`; 0: none.
struct Failing {
    uint64_t at = 0, of_library = 0;
    bool persistent = false;
};

// The blocks that a run leaves; the state of the library's modules is released after it.
int64_t left_by(fuzz::Bytes input, const Failing& failing, Failing* counted = nullptr) {
    const uint64_t blocks = mmskit::live_allocations();
    const bool of_library = failing.at <= failing.of_library;
    short_of_memory = failing.at != 0;
    fuzz::seen = 0xCBF29CE484222325U;
    mmskit::fail_allocation(of_library ? failing.at : 0, failing.persistent);
    news = {new_fails && target->uses_new, 0, 0, of_library ? 0 : failing.at - failing.of_library,
            !of_library && failing.persistent};
    try {
        target->run(input);
    } catch (const std::bad_alloc&) {
        news.counted = false;
        fuzz::hold(false, "memory is out");
    }
    news.counted = false;
    if (counted != nullptr)
        *counted = {mmskit::counted_allocations() + news.asked, mmskit::counted_allocations()};
    mmskit::fail_allocation(0, false);
    fnPAR_SmilFree();
    fnCPS_Quit();
    fnMMSPush_ReleaseXml();
    return static_cast<int64_t>(mmskit::live_allocations() - blocks) + news.live;
}

// What stays for good from one run to the next is made by the first.
void check_ledger(fuzz::Bytes input, const Failing& failing, Failing* counted = nullptr) {
    if (left_by(input, failing, counted) != 0 && left_by(input, failing) != 0)
        fail("blocks are left");
}

const fuzz::Target* find_target(std::string_view name) {
    for (const auto& table :
         {fuzz::pdu_targets, fuzz::value_targets, fuzz::message_targets, fuzz::compose_targets,
          fuzz::push_targets, fuzz::storage_targets, fuzz::tolerant_targets, fuzz::command_targets})
        for (const fuzz::Target& each : table)
            if (each.name == name) return &each;
    return nullptr;
}

}  // namespace

// All that are used, as a sanitizer has its own of each.
// clang-format off
void* operator new(size_t size) { return new_block(size); }
void* operator new[](size_t size) { return new_block(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    try {
        return new_block(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* block) noexcept { free_new(block); }
void operator delete(void* block, size_t) noexcept { free_new(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { free_new(block); }
void operator delete[](void* block) noexcept { free_new(block); }
void operator delete[](void* block, size_t) noexcept { free_new(block); }
// clang-format on

namespace fuzz {

void hold(bool fact, const char* what) {
    if (!fact && !short_of_memory) fail(what);
}

void must(bool fact, const char* what) {
    if (!fact) fail(what);
}

const std::string& folder() {
    static const struct Folder {
        std::string path = (fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path()) /
                           fs::path("mmskit-fuzz-XXXXXX");
        Folder() {
            if (mkdtemp(path.data()) == nullptr) std::abort();
            fs::create_directories(path + "/umb/tmp");
        }
        ~Folder() { fs::remove_all(path); }
    } made;
    return made.path;
}

std::string put_file(const char* name, Bytes bytes) {
    const std::string path = folder() + '/' + name;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
        std::fclose(file) != 0)
        std::abort();
    return path;
}

bool choose(const char* name, bool with_new) {
    new_fails = with_new;
    return (target = find_target(name != nullptr ? name : "")) != nullptr;
}

}  // namespace fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    if (fuzz::choose(std::getenv("FUZZ_TARGET"), false)) return 0;
    (void)std::fprintf(stderr, "FUZZ_TARGET names none of the targets\n");
    std::exit(2);
}

namespace fuzz {

// With the allocation failing that `choice` tells, or with each in turn, alone and with all after
// it: of more runs than `most` every third, fifth and so on.
void run(Bytes input, unsigned choice, uint64_t most) {
    folder();
    Failing failing;
    check_ledger(input, {}, &failing);
    const uint64_t count = failing.at;
    if (count == 0 || (most == 0 && (choice & 1U) == 0)) return;
    const uint64_t first = seen;
    const uint64_t runs = most != 0 ? 2 * count : 1, step = most != 0 ? runs / most / 2 * 2 + 1 : 1;
    for (uint64_t at = 0; at < runs; at += step) {
        failing.at = 1 + (most != 0 ? at / 2 : choice >> 2U) % count;
        failing.persistent = ((most != 0 ? at : choice >> 1U) & 1U) != 0;
        check_ledger(input, failing);
    }
    check_ledger(input, {});
    if (seen != first) fail("the same input told something else");
}

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size >= 2) fuzz::run({data + 2, size - 2}, data[0] | unsigned{data[1]} << 8U, 0);
    return 0;
}
