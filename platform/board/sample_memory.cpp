#include "platform/sample_memory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <cerrno>

namespace platform {

namespace {

/// The driver of the contiguous memory hands out the core's block as its first pages, zeroed at power-on. O_SYNC keeps
/// it out of the cache, which the core does not see.
constexpr const char* device_name = "/dev/cmem";
constexpr std::size_t memory_bytes = sample_memory_elements * sizeof(double);

// A lock of this process would not hold off the core.
static_assert(std::atomic_ref<double>::is_always_lock_free);

}  // namespace

double* Map_Sample_Memory() {
    const int device = ::open(device_name, O_RDWR | O_SYNC | O_CLOEXEC);
    if (device < 0) return nullptr;
    void* memory = ::mmap(nullptr, memory_bytes, PROT_READ | PROT_WRITE, MAP_SHARED, device, 0);
    const int error = errno;
    ::close(device);
    errno = error;
    return memory == MAP_FAILED ? nullptr : static_cast<double*>(memory);
}

void Unmap_Sample_Memory(double* memory) {
    if (memory != nullptr) ::munmap(memory, memory_bytes);
}

}  // namespace platform
