#include <cstdio>
#include <vector>

#include "common/system/text/convert.h"
#include "p7tool/p7tool.h"

int main(int count, char** arguments) {
    std::vector<tarnwell::CUTF16String> list;
    for (int i = 1; i < count; ++i)
        list.push_back(tarnwell::Utf16FromUtf8(arguments[i]));
    return tarnwell::p7tool::Run(list, stdout, stderr);
}
