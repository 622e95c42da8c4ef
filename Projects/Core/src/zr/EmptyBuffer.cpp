#include <zr/EmptyBuffer.h>

#include <new>

namespace zr
{
BufferRef EmptyBuffer::get()
{
    alignas(EmptyBuffer) static unsigned char memory[sizeof(EmptyBuffer)];
    static auto* const instance = new (memory) EmptyBuffer;
    return BufferRef(instance);
}
} // namespace zr
