#include "io/IClassWriter.h"

#include "io/10/ClassWriter10.h"

namespace model
{
std::unique_ptr<IClassWriter> createClassWriter(u16 version)
{
    if (version == 10) return std::make_unique<ClassWriter10>();
    return nullptr;
}
} // namespace model
