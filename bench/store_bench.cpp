// What an INI store costs: saving and loading it whole, and changing one value, which saves it
// whole. The time an entry must stay the same at any number (the last column, entries a second).
#include <benchmark/benchmark.h>
#include <mmskit/storage.h>
#include <unistd.h>

#include <cstdio>
#include <string>

namespace {

// A store of `count` entries in a file that is gone with it.
class Store {
  public:
    explicit Store(int64_t count) {
        for (int64_t i = 0; i < count; ++i) {
            // Not fnSCFS_INI_WriteRAM, which looks for the key first.
            auto* entry = static_cast<tSCFS_INI_Entry*>(fnSC_Malloc_Local(sizeof(tSCFS_INI_Entry)));
            entry->pKey = fnSC_MEMSTRCOPY(("setting" + std::to_string(i)).c_str());
            entry->pValue = fnSC_MEMSTRCOPY("some value");
            fnSCList_AddTail(&list, entry);
        }
        fnSCFS_Write_INI_To_File(file(), &list);
    }
    ~Store() {
        fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
        (void)std::remove(file());
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    const char* file() const { return path_.c_str(); }
    tSCList list{};

  private:
    // In memory where there is such a folder: the library's work is measured, not the disk.
    std::string path_ = std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : ".") +
                        "/mmskit-bench-" + std::to_string(getpid());
};

void count_entries(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void save_store(benchmark::State& state) {
    Store store(state.range(0));
    for (auto _ : state)
        if (fnSCFS_Write_INI_To_File(store.file(), &store.list) != 1)
            state.SkipWithError("cannot save");
    count_entries(state);
}
BENCHMARK(save_store)->RangeMultiplier(10)->Range(100, 100000);

void load_store(benchmark::State& state) {
    Store store(state.range(0));
    for (auto _ : state)
        fnSCFS_Load_INI_To_List(store.file(), &store.list);
    if (store.list.iCount != state.range(0)) state.SkipWithError("cannot load");
    count_entries(state);
}
BENCHMARK(load_store)->RangeMultiplier(10)->Range(100, 100000);

// The key stands last, so that the search passes all entries, too.
void write_one_value(benchmark::State& state) {
    Store store(state.range(0));
    const std::string key = "setting" + std::to_string(state.range(0) - 1);
    for (auto _ : state)
        if (fnSCFS_INI_Write(store.file(), &store.list, key.c_str(), "another value") != 1)
            state.SkipWithError("cannot write");
    count_entries(state);
}
BENCHMARK(write_one_value)->RangeMultiplier(10)->Range(100, 10000);

}  // namespace
