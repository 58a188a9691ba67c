#include "platform/sample_memory.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/root.h"
#include "platform/virtual/device_files.h"

namespace platform {

namespace {

constexpr std::size_t memory_bytes = sample_memory_elements * sizeof(double);

}  // namespace

double* Map_Sample_Memory() {
    const int file = ::open(Rooted(device_files::sample_memory).c_str(), O_RDWR | O_CLOEXEC);
    if (file < 0)
        return nullptr;
    struct stat status {};
    void* memory = MAP_FAILED;
    if (::fstat(file, &status) == 0 && status.st_size >= static_cast<off_t>(memory_bytes))
        memory = ::mmap(nullptr, memory_bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    else
        errno = ENXIO;
    const int error = errno;
    ::close(file);
    errno = error;
    return memory == MAP_FAILED ? nullptr : static_cast<double*>(memory);
}

void Unmap_Sample_Memory(double* memory) {
    if (memory != nullptr)
        ::munmap(memory, memory_bytes);
}

}  // namespace platform
