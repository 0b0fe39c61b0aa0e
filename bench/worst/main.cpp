// worst-cases [-a] [MMSKIT [WORD]]: what the worst inputs of 0.5, 1 and 2 MB cost: processor time
// and peak memory of each decoder and, when the command's path is given, of each command that
// reads. Each runs in a process of its own. A row is printed when 1 MB costs over 50 ms, memory
// over 8 times its size and 16 MB, or doubling more than doubles; with -a each row. WORD picks rows
// that contain it.
#include <mmskit/anatomy.h>
#include <mmskit/mmskit.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>
#include <malloc.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>

#include "bench/worst/shapes.h"
#include "fuzz/walk.h"

namespace {

constexpr double most_ms = 50;
constexpr double most_growth = 2.3;  // a doubling with 15 % tolerance
constexpr double base_mb = 16;
constexpr double factor = 8;
constexpr double noise_ms = 20;  // below it growth says nothing

struct Cost {
    double ms = 0, mb = 0;
    int status = 0;
};

double milliseconds(const timeval& t) {
    return double(t.tv_sec) * 1e3 + double(t.tv_usec) / 1e3;
}

// Memory counts from what the process had when it began the work.
double resident_mb(const char* what) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.rfind(what, 0) == 0) return std::atof(line.c_str() + std::strlen(what)) / 1024;
    return 0;
}

Cost in_child(const std::function<void()>& work) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) {
        malloc_trim(0);  // what the rows before left free would hide what this one takes
        const double before = resident_mb("VmRSS:");
        std::ofstream("/proc/self/clear_refs") << 5;  // forgets the peak so far
        rusage start{}, end{};
        getrusage(RUSAGE_SELF, &start);
        work();
        getrusage(RUSAGE_SELF, &end);
        Cost cost;
        cost.ms = milliseconds(end.ru_utime) + milliseconds(end.ru_stime) -
                  milliseconds(start.ru_utime) - milliseconds(start.ru_stime);
        cost.mb = resident_mb("VmHWM:") - before;
        if (write(ends[1], &cost, sizeof cost) < 0) _exit(1);
        _exit(0);
    }
    close(ends[1]);
    Cost cost;
    if (read(ends[0], &cost, sizeof cost) != ssize_t(sizeof cost)) cost.ms = -1;
    close(ends[0]);
    waitpid(child, &cost.status, 0);
    return cost;
}

Cost command(const std::vector<std::string>& words) {
    std::vector<char*> argv;
    for (const std::string& word : words)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    malloc_trim(0);  // the peak of the child is at least what this process holds
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, 1);
        dup2(nowhere, 2);
        execv(argv[0], argv.data());
        _exit(127);
    }
    Cost cost;
    rusage used{};
    wait4(child, &cost.status, 0, &used);
    cost.ms = milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
    cost.mb = double(used.ru_maxrss) / 1024;
    return cost;
}

bool all_rows = false;
const char* wanted = "";
int bad_rows = 0;

void row(const std::string& door, const worst::Shape& shape,
         const std::function<Cost(const std::string&)>& run) {
    const std::string name = door + ": " + shape.name;
    if (name.find(wanted) == std::string::npos) return;
    Cost costs[3];
    size_t sizes[3];
    for (int i = 0; i < 3; ++i) {
        const std::string input = shape.make(size_t{512} << (10 + i));
        sizes[i] = input.size();
        costs[i] = run(input);
    }
    const double mb = double(sizes[1]) / (1 << 20);
    std::string why;
    for (const Cost& cost : costs)
        if (WIFSIGNALED(cost.status)) why = " CRASH";
    if (costs[1].ms > most_ms * mb) why += " slow";
    if (costs[1].mb > factor * mb + base_mb) why += " memory";
    for (int i = 1; i < 3; ++i) {
        if (costs[i].ms > noise_ms && costs[i].ms > most_growth * costs[i - 1].ms) why += " growth";
    }
    bad_rows += why.empty() ? 0 : 1;
    if (!why.empty() || all_rows)
        std::printf("%-50s %8.1f %8.1f %8.1f ms %7.1f %7.1f %7.1f MB%s\n", name.c_str(),
                    costs[0].ms, costs[1].ms, costs[2].ms, costs[0].mb, costs[1].mb, costs[2].mb,
                    why.c_str());
    std::fflush(stdout);
}

const uint8_t* data(const std::string& s) {
    return reinterpret_cast<const uint8_t*>(s.data());
}

using Work = void (*)(const std::string&);

void decode(const std::string& message) {
    fnMMS_FreeMessageMem(fnMMS_ParseRetrieveConf(data(message), int32_t(message.size())), 4);
}
void split(const std::string& message) {
    const size_t at = worst::body_start(message);
    fnMMS_FreeMediaData(
        fnMMS_GetMediaDataFromPdu(data(message) + at, int32_t(message.size() - at)));
}
void view(const std::string& message) {
    const size_t at = worst::body_start(message);
    fuzz::walk_body(data(message) + at, int32_t(message.size() - at));
}
void reedit(const std::string& message) {
    const size_t at = worst::body_start(message);
    fnCPS_ReEditMms(data(message) + at, int32_t(message.size() - at));
    uint32_t length = 0;
    uint8_t* body = fnCPS_GetMmsContentPdu(&length);
    fnSC_Free(&body);
    fnCPS_Quit();
}
void dissect(const std::string& message) {
    fnMMS_FreeAnatomy(fnMMS_Dissect(data(message), uint32_t(message.size())));
}
void mend(const std::string& message) {
    tMMS_Anatomy* anatomy = fnMMS_Dissect(data(message), uint32_t(message.size()));
    fnMMS_FreeMended(fnMMS_Mend(anatomy));
    fnMMS_FreeAnatomy(anatomy);
}
void push_si(const std::string& document) {
    fnMMSPush_FreeSic(fnMMSPush_DecodeSic(data(document), uint32_t(document.size())));
}
void push_xml(const std::string& document) {
    std::string text = document;
    fnMMSPush_FreeSic(fnMMSPush_DecodeXmlSic(text.data(), uint32_t(text.size())));
}
void ini(const std::string& store) {
    std::ofstream("worst.ini", std::ios::binary) << store;
    tSCList list{};
    fnSCFS_INI_List_Init("worst.ini", &list);
    fnSCList_Clear(&list, fnSCFS_INI_FreeNode);
}

void all_shapes(const std::vector<worst::Shape>& shapes,
                const std::vector<std::pair<const char*, Work>>& doors) {
    for (const worst::Shape& shape : shapes) {
        for (const auto& [door, work] : doors) {
            row(door, shape,
                [work = work](const std::string& input) { return in_child([&] { work(input); }); });
        }
    }
}

void all_commands(const std::string& tool, const std::vector<worst::Shape>& shapes,
                  const std::vector<std::vector<std::string>>& lines) {
    for (const worst::Shape& shape : shapes) {
        for (const std::vector<std::string>& line : lines) {
            std::string door = "mmskit";
            for (const std::string& word : line)
                door += ' ' + word;
            row(door, shape, [&](const std::string& input) {
                std::ofstream("worst.in", std::ios::binary) << input;
                std::vector<std::string> words{tool};
                words.insert(words.end(), line.begin(), line.end());
                const Cost cost = command(words);
                if (std::system("rm -rf worst.out") != 0) std::abort();
                return cost;
            });
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "-a") == 0) {
        all_rows = true;
        --argc;
        ++argv;
    }
    const char* path = argc > 1 ? realpath(argv[1], nullptr) : "";
    if (path == nullptr) {
        std::fprintf(stderr, "worst-cases: no command at \"%s\"\n", argv[1]);
        return 2;
    }
    const std::string tool = path;
    if (argc > 2) wanted = argv[2];
    char folder[] = "/tmp/mmskit-worst-XXXXXX";
    if (mkdtemp(folder) == nullptr || chdir(folder) != 0) return 2;
    if (std::system("mkdir -p umb/tmp") != 0) return 2;

    all_shapes(worst::messages, {{"decode", decode},
                                 {"split", split},
                                 {"view", view},
                                 {"re-edit", reedit},
                                 {"dissect", dissect},
                                 {"mend", mend}});
    all_shapes(worst::wbxml_pushes, {{"push", push_si}, {"dissect", dissect}});
    all_shapes(worst::xml_pushes, {{"push text", push_xml}, {"dissect", dissect}});
    all_shapes(worst::stores, {{"store", ini}});
    if (!tool.empty()) {
        const std::string in = "worst.in", out = "worst.out";
        all_commands(tool, worst::messages,
                     {{"show", in},
                      {"show", "--json", in},
                      {"show", "--exact", in},
                      {"show", "--smil", in},
                      {"size", in},
                      {"explain", in},
                      {"explain", "--json", in},
                      {"extract", in, "-o", out},
                      {"extract", "--all", in, "-o", out},
                      {"decompose", in, "-o", out},
                      {"preview", in, "-o", out},
                      {"forward", in, "--to", "a@b", "-o", out},
                      {"respond", "ack", in, "-o", out},
                      {"list", in}});
        all_commands(tool, worst::wbxml_pushes, {{"show", in}, {"explain", in}});
        all_commands(tool, worst::xml_pushes, {{"show", in}, {"explain", in}});
        all_commands(tool, worst::descriptions, {{"compose", in, "-o", out}});
        all_commands(tool, worst::stores,
                     {{"store", in},
                      {"store", in, "--json"},
                      {"store", in, "set", "a", "b"},
                      {"store", in, "unset", "k"}});
    }
    if (std::system(("rm -rf " + std::string(folder)).c_str()) != 0) return 2;
    std::printf("%d rows beyond the goal\n", bad_rows);
    return bad_rows == 0 ? 0 : 1;
}
