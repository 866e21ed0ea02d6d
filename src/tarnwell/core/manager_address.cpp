#include "tarnwell/core/manager_address.h"

#include "common/system/net/percent.h"
#include "common/system/text/convert.h"
#include "common/system/text/format.h"

namespace tarnwell {

CUTF16String ManagerCommandLine(const CUTF16String& moduleDirectory,
                                const ProgramFilesFolders& folders) {
    return MapTo32BitInstall(moduleDirectory + u"\\Corvane.exe /standalone", folders);
}

std::string_view ActionText(ActionCode action) noexcept {
    switch (action) {
        case kActionSign:
            return "SIGN";
        case kActionEncrypt:
            return "ENCRYPT";
        case kActionSignEncrypt:
            return "SIGNENCRYPT";
        case kActionRecover:
            return "RECOVER";
        case kActionUnknown:
            return "UNKNOWN";
        default:
            return "";
    }
}

CUTF16String JoinFiles(std::span<const CUTF16String> files) {
    std::size_t length = files.size();
    for (const CUTF16String& file : files)
        length += file.Length();
    CUTF16String joined;
    joined.Reserve(length);
    for (const CUTF16String& file : files) {
        if (&file != &files.front())
            joined.AppendUnit(u',');
        joined.Append(file);
    }
    return joined;
}

CISOString RequestAddress(const CISOString& port, ActionCode action,
                          std::span<const CUTF16String> files) {
    return CTFmtArgs<CISOEncoding>()
        .Add(port)
        .Add(ActionText(action))
        .Add(PercentEncode(Utf8FromUtf16(JoinFiles(files))))
        .Format("http://127.0.0.1:%1/dyn/tarnwell_init?action=%2&files=%3");
}

}  // namespace tarnwell
