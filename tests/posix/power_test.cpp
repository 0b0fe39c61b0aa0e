// Power that fails. What a save writes, synchronizes, renames and removes is done, and also noted
// on a model of a disk: what was synchronized is on it, and of everything else any part, in any
// order. At one of the calls, or after the save, the power fails, and what is then on the disk
// takes the folder's place: the reader finds what stood there before or what was saved, whole, and
// never the old once the save has reported success; and the next save starts from there.
#include <dlfcn.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "tests/posix/saves.h"

namespace {

using namespace testing_support;

// A process with a sanitizer, which clang's build of the tests has, is slow: fewer seeds there.
#if defined(__SANITIZE_ADDRESS__) || defined(__clang__)
constexpr unsigned seeds = 100;
#else
constexpr unsigned seeds = 1000;
#endif

struct Write {
    size_t at;
    std::string data;
};
struct File {
    std::string synced;
    std::vector<Write> pending{};
    size_t size = synced.size();
};
using Names = std::map<std::string, std::shared_ptr<File>>;
struct Change {  // of names: one that goes, and one that is a file's from then on; either may be
                 // none
    std::string gone, taken;
    std::shared_ptr<File> file;
    void apply(Names& names) const {
        if (!taken.empty()) names[taken] = file;
        names.erase(gone);
    }
};

// One folder's. Notes what is done from its start until it is unplugged.
class Disk {
  public:
    void start(const std::string& folder, const Folder& content, std::mt19937& random) {
        *this = {};
        for (const auto& [name, data] : content)
            now_[name] = std::make_shared<File>(File{data});
        synced_ = now_;
        folder_ = folder;
        random_ = &random;
        calls_left_ = random() % 24;
        on_file_call = [this](const FileCall& call) { return note(call); };
    }
    bool has_failed() const { return failed_; }
    Folder unplug() {
        if (!failed_) fail();
        on_file_call = nullptr;
        return on_disk_;
    }

  private:
    int note(const FileCall& call) {
        if (call.kind == 'w') write(call.fd, call.data, call.size);
        if (call.kind == 's') synchronize(call.fd);
        if (call.kind == 'm') change({call.name, call.to, now_[call.name]});
        if (call.kind == 'u') change({call.name, "", nullptr});
        return call.kind == 's' ? call_done : 0;
    }
    void write(int fd, const void* data, size_t size) {
        const std::string name = name_of(fd);
        if (now_.count(name) == 0) change({"", name, std::make_shared<File>()});
        File& file = *now_[name];
        file.pending.push_back({file.size, {static_cast<const char*>(data), size}});
        file.size += size;
    }
    void synchronize(int fd) {
        count();
        const std::string name = name_of(fd);
        if (name.empty()) {
            synced_ = now_;
            changes_.clear();
            return;
        }
        for (const Write& each : now_[name]->pending)
            put(now_[name]->synced, each);
        now_[name]->pending.clear();
    }
    static void put(std::string& content, const Write& write) {
        content.resize(std::max(content.size(), write.at + write.data.size()));
        content.replace(write.at, write.data.size(), write.data);
    }
    std::string name_of(int fd) const {  // empty for the folder itself
        const std::string path =
            std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd));
        return path == folder_ ? "" : path.substr(folder_.size() + 1);
    }
    void change(const Change& what) {
        count();
        what.apply(now_);
        changes_.push_back(what);
    }
    void count() {
        if (!failed_ && calls_left_-- == 0) fail();
    }
    bool chance() { return (*random_)() % 2 == 0; }
    void fail() {
        failed_ = true;
        if (chance()) std::shuffle(changes_.begin(), changes_.end(), *random_);
        Names names = synced_;
        for (const Change& each : changes_)
            if (chance()) each.apply(names);
        for (const auto& [name, file] : names)
            on_disk_[name] = torn(*file);
    }
    // Some of the writes, each whole or its beginning; what none has written is zero.
    std::string torn(const File& file) {
        std::string content = file.synced;
        for (const Write& each : file.pending) {
            const size_t length = chance() ? each.data.size() : (*random_)() % each.data.size();
            if (chance()) put(content, {each.at, each.data.substr(0, length)});
        }
        return content;
    }

    std::string folder_{};
    Names now_{}, synced_{};
    std::vector<Change> changes_{};  // since the folder was synchronized
    std::mt19937* random_ = nullptr;
    size_t calls_left_ = 0;
    bool failed_ = false;
    Folder on_disk_{};
};

Disk disk;

// The C library's own function behind the one of that name here, unless the call is not to be made.
template <typename Result, typename... Arguments>
Result pass(const char* function, const FileCall& call, Arguments... arguments) {
    const int error = on_file_call ? on_file_call(call) : 0;
    if (error == call_done) return 0;
    if (error != 0) errno = error;
    if (error != 0 && std::strcmp(function, "close") != 0) return -1;
    Result (*next)(Arguments...) = nullptr;
    void* const found = dlsym(RTLD_NEXT, function);
    std::memcpy(&next, &found, sizeof next);
    const Result result = next(arguments...);
    return error != 0 ? -1 : result;  // a descriptor is gone, whatever closing it gives
}

}  // namespace

// In place of the C library's, for the whole program: the file layer calls these.
extern "C" {
int open(const char* path, int flags, ...) {
    return pass<int>("open", {'o'}, path, flags, 0600);
}
int openat(int folder, const char* path, int flags, ...) {
    return pass<int>("openat", {'o'}, folder, path, flags, 0600);
}
int close(int fd) {
    return pass<int>("close", {'c', fd}, fd);
}
ssize_t read_from(int fd, void* data, size_t size) __asm__("read");  // headers may have it inline
ssize_t read_from(int fd, void* data, size_t size) {
    return pass<ssize_t>("read", {'r'}, fd, data, size);
}
ssize_t write(int fd, const void* data, size_t size) {
    return pass<ssize_t>("write", {'w', fd, nullptr, nullptr, data, size}, fd, data, size);
}
off_t lseek(int fd, off_t at, int origin) noexcept {
    return pass<off_t>("lseek", {'-'}, fd, at, origin);
}
int fsync(int fd) {
    return pass<int>("fsync", {'s', fd}, fd);
}
int stat(const char* path, struct stat* status) noexcept {
    return pass<int>("stat", {'-'}, path, status);
}
int fstat(int fd, struct stat* status) noexcept {
    return pass<int>("fstat", {'-'}, fd, status);
}
int fstatat(int folder, const char* path, struct stat* status, int flags) noexcept {
    return pass<int>("fstatat", {'-'}, folder, path, status, flags);
}
int fchmod(int fd, mode_t mode) noexcept {
    return pass<int>("fchmod", {'-'}, fd, mode);
}
int renameat(int folder, const char* from, int to_folder, const char* to) noexcept {
    return pass<int>("renameat", {'m', -1, from, to}, folder, from, to_folder, to);
}
int unlinkat(int folder, const char* name, int flags) noexcept {
    return pass<int>("unlinkat", {'u', -1, name}, folder, name, flags);
}
}

namespace {

class PowerCut : public Saves {
  protected:
    // A list, or a file that is written whole or gets more at its end.
    int32_t save_file(size_t size, bool more) const {
        const std::string data = list_text(size);
        return (more ? fnSCFS_AppendToFile : fnSCFS_WriteToFile)(
                   data.data(), static_cast<int32_t>(data.size()), path_.c_str()) >= 0;
    }
    std::string read(bool list) const { return list ? load() : file_bytes(path_); }
};

TEST_F(PowerCut, LeavesTheOldListOrTheNewOneWhole) {
    for (unsigned seed = 0; seed < seeds && !HasFailure(); ++seed) {
        std::mt19937 random(seed);
        const bool list = seed % 3 != 0;
        const bool more = seed % 6 == 0;
        std::string before;
        restore({});
        for (int round = 0; round < 3 && !HasFailure(); ++round) {
            const size_t size = 1 + random() % (random() % 3 == 0 ? 20000 : 200);
            disk.start(folder_, snapshot(), random);
            const int32_t saved = list ? save(size) : save_file(size, more);
            const bool lasted = !disk.has_failed();
            const Folder left = disk.unplug();
            ASSERT_EQ(saved, 1);
            restore(left);
            const std::string after = read(list);
            const std::string wanted = (more ? before : "") + list_text(size);
            EXPECT_TRUE(after == wanted || (after == before && !lasted))
                << "seed " << seed << ", round " << round << ": " << after.substr(0, 20);
            if (round == 0) restore(left);  // the next save comes without a load in between
            before = after;
        }
    }
}

}  // namespace
