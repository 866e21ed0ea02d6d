#include "tarnwell/win32/object_table.h"

#include "tarnwell/win32/class_ids.h"
#include "tarnwell/win32/class_object.h"
#include "tarnwell/win32/context_menu.h"
#include "tarnwell/win32/extract_icon.h"
#include "tarnwell/win32/shell_hover.h"

namespace tarnwell {
namespace {

template <class Coclass>
constexpr ObjectTableEntry EntryOf(const CLSID& classId) {
    return {&classId, &CClassObject<Coclass>::Make, &UpdateRegistry};
}

// The rows of all classes stand in one table, so each class's registration writes the whole.
constexpr ObjectTableEntry kObjectTable[kClassCount] = {
    EntryOf<CContextMenu>(CLSID_ContextMenu),
    EntryOf<CExtractIcon>(CLSID_ExtractIcon),
    EntryOf<CShellHover>(CLSID_ShellHover),
};

}  // namespace

std::span<const ObjectTableEntry, kClassCount> ObjectTable() noexcept {
    return kObjectTable;
}

}  // namespace tarnwell
