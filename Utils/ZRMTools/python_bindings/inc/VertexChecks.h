#pragma once

#include <initializer_list>

#include "Vertices.h"

namespace pyzrm
{
/// "" when every attribute but those of `builtLater` has data, otherwise the text that names the first without.
zr::string findEmptyAttribute(const model::Vertices& vertices, std::initializer_list<zr::i32> builtLater = {});
} // namespace pyzrm
