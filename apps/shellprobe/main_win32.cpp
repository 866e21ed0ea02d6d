// A small explorer for the command line: see --help.

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <exception>

#include "shellprobe/arguments.h"
#include "shellprobe/commands.h"

#include "common/system/os/windows.h"
// Windows last.
#include <ole2.h>

namespace {

/// Shell objects want an apartment with the full OLE, as the explorer's threads have.
class COleApartment {
public:
    COleApartment() noexcept { OleInitialize(nullptr); }
    ~COleApartment() { OleUninitialize(); }
    COleApartment(const COleApartment&) = delete;
    COleApartment& operator=(const COleApartment&) = delete;
};

}  // namespace

int wmain(int count, wchar_t** values) {
    // UTF-8 and line ends as they are written, whatever the console's code page is.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    try {
        std::vector<tarnwell::CUTF16String> list;
        for (int i = 1; i < count; ++i)
            list.emplace_back(tarnwell::Units(values[i]));
        const COleApartment apartment;
        return tarnwell::shellprobe::Run(tarnwell::shellprobe::ParseArguments(list));
    } catch (const tarnwell::shellprobe::EUsage& error) {
        (void)std::fprintf(stderr, "shellprobe: %s\nSee: shellprobe --help\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "shellprobe: %s\n", error.what());
        return 1;
    }
}
