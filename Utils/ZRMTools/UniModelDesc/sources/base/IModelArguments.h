#pragma once

#include "base/types.h"

namespace model
{
/// The values of the animation arguments against which nodes are evaluated.
class IModelArguments
{
public:
    virtual ~IModelArguments() = default;
    virtual f32 get(u32 argument) const = 0;
};

/// The model at rest: every argument is 0.
class DummyArguments final : public IModelArguments
{
public:
    f32 get(u32) const override { return 0.0f; }
};
} // namespace model
