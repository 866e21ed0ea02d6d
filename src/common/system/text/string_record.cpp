#include "common/system/text/string_record.h"

#include <new>

namespace tarnwell {

void* NewStringRecord(std::size_t bytes) {
    return ::operator new(bytes);
}

void DeleteStringRecord(void* record) noexcept {
    ::operator delete(record);
}

}  // namespace tarnwell
