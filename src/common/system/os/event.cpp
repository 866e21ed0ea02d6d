#include "common/system/os/event.h"

namespace tarnwell {

CUTF16String UnknownEventText(const CEvent& event) {
    CTFmtArgs<CUTF16Encoding> identifier;
    identifier.Add(event.identifier);
    CUTF16String text = identifier.Format(u"Unable to retrieve message (msgid is 0x%1!08X!).\n");
    for (std::size_t i = 0; i < event.arguments.Count(); ++i)
        text.Append(event.arguments.Argument(i)).AppendUnit(u'\n');
    return WithoutTrailingSpace(text);
}

CUTF16String WithoutTrailingSpace(const CUTF16String& text) {
    return text.Sub(0, text.AsView().find_last_not_of(u" \t\r\n\v\f") + 1);
}

}  // namespace tarnwell
