#pragma once

// The sort that OpenSSL has on Windows instead of the runtime library's, whose quicksort takes a
// time that grows with the square of the count where somebody chose the order. OpenSSL sorts what
// files bring: a set of 50,000 parts of one name took 12 s each time that its file was parsed. Any
// thread may call.

#include <cstddef>

namespace tarnwell {

/// HeapSort sorts as std::qsort does, with at most 2 n log2 n calls of `compare`.
void HeapSort(void* base, std::size_t count, std::size_t size,
              int (*compare)(const void*, const void*));

}  // namespace tarnwell
