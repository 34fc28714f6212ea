#include "tests/Fnd/FailingMemory.h"

#include <cstdlib>
#include <new>

namespace Tessor::Test
{

long allocationsLeft = -1;

} // namespace Tessor::Test

void* operator new(size_t size)
{
    if (Tessor::Test::allocationsLeft >= 0 && Tessor::Test::allocationsLeft-- == 0)
        throw std::bad_alloc();
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}
