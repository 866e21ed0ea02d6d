#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <vector>

#include "p7tool/p7tool.h"

#include "common/system/os/windows.h"

int wmain(int count, wchar_t** arguments) {
    // UTF-8 and line ends as they are written, whatever the console's code page is.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    std::vector<tarnwell::CUTF16String> list;
    for (int i = 1; i < count; ++i)
        list.emplace_back(tarnwell::Units(arguments[i]));
    return tarnwell::p7tool::Run(list, stdout, stderr);
}
