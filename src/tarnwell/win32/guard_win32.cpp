#include "tarnwell/win32/guard.h"

#include <exception>
#include <new>

namespace tarnwell {

HRESULT CurrentExceptionResult() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc& failure) {
        TraceString(failure.what());
        return E_OUTOFMEMORY;
    } catch (const std::exception& failure) {
        TraceString(failure.what());
    } catch (...) {
        TraceString("unknown exception");
    }
    return E_FAIL;
}

}  // namespace tarnwell
