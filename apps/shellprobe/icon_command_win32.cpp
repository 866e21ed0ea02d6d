#include "shellprobe/commands.h"

#include <thread>

#include "shellprobe/full_path.h"
#include "shellprobe/handler.h"
#include "shellprobe/icon_host.h"
#include "shellprobe/ole_apartment.h"
#include "shellprobe/output.h"
#include "shellprobe/png_file.h"

namespace tarnwell::shellprobe {
namespace {

/// Extract asks even a handler that could not locate the icon, to see what it says then.
ExtractedIcons Extract(CIconHost& host, const IconLocation& location, const Arguments& arguments) {
    return host.Extract(location, static_cast<WORD>(arguments.largeSize),
                        static_cast<WORD>(arguments.smallSize));
}

/// A handler that answers "pending" is asked anew on another thread, which may wait.
ExtractedIcons ExtractInBackground(const std::wstring& file, const Arguments& arguments) {
    ExtractedIcons icons;
    std::exception_ptr error;
    std::jthread([&] {
        try {
            const COleApartment apartment;
            CIconHost host = HostFor<CIconHost>(file, arguments.isThroughShell);
            icons = Extract(host, host.Locate(0), arguments);
        } catch (...) {
            error = std::current_exception();
        }
    }).join();
    if (error)
        std::rethrow_exception(error);
    return icons;
}

/// PREFIX of one file's pictures: with its position, from 1, where there are several files.
std::wstring PictureName(const Arguments& arguments, std::size_t position) {
    std::wstring name = FullPath(arguments.png);
    if (arguments.files.size() > 1)
        name += L"-" + std::to_wstring(position + 1);
    return name;
}

}  // namespace

int RunIcon(const Arguments& arguments) {
    const std::vector<std::wstring> files = FullPaths(arguments.files);
    int status = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
        CIconHost host = HostFor<CIconHost>(files[i], arguments.isThroughShell);
        const IconLocation location = host.Locate(arguments.isAsync ? GIL_ASYNC : 0);
        const bool isPending = location.result == E_PENDING;
        const ExtractedIcons icons = isPending ? ExtractInBackground(files[i], arguments)
                                               : Extract(host, location, arguments);
        CJsonObject json;
        json.Add("location", Hex(location.result))
            .Add("flags", ShortHex(location.flags))
            .Add("extract", Hex(icons.result));
        AddSize(json, "large", SizeOf(icons.large));
        AddSize(json, "small", SizeOf(icons.small));
        Print(json);
        if (arguments.png.Length() != 0) {
            WritePng(icons.large, PictureName(arguments, i) + L"-large.png");
            WritePng(icons.small, PictureName(arguments, i) + L"-small.png");
        }
        if ((FAILED(location.result) && !isPending) || FAILED(icons.result))
            status = 1;
    }
    return status;
}

}  // namespace tarnwell::shellprobe
