#include "allocations.h"

#include <cstdlib>
#include <new>

namespace {

thread_local unsigned long allocations = 0;

}  // namespace

unsigned long Allocations_Of_This_Thread() { return allocations; }

void* operator new(std::size_t size) {
    ++allocations;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}

// The library's own would come from elsewhere under a sanitizer and go back to the free below.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocations;
    return std::malloc(size ? size : 1);
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
