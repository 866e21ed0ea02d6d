// A small explorer for the command line: see --help.

#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <exception>

#include "shellprobe/arguments.h"
#include "shellprobe/commands.h"
#include "shellprobe/ole_apartment.h"

int wmain(int count, wchar_t** values) {
    // UTF-8 and line ends as they are written, whatever the console's code page is.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    try {
        std::vector<tarnwell::CUTF16String> list;
        for (int i = 1; i < count; ++i)
            list.emplace_back(tarnwell::Units(values[i]));
        const tarnwell::shellprobe::COleApartment apartment;
        return tarnwell::shellprobe::Run(tarnwell::shellprobe::ParseArguments(list));
    } catch (const tarnwell::shellprobe::EUsage& error) {
        (void)std::fprintf(stderr, "shellprobe: %s\nSee: shellprobe --help\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "shellprobe: %s\n", error.what());
        return 1;
    }
}
