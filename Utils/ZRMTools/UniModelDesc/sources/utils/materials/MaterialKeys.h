#pragma once

#include "materials/PropertiesSet.h"

namespace model
{
/// What two materials must share for `a.isEqual(b)` to be possible at all, so that only few pairs are compared in full.
///
/// Equality leaves a tolerance to floats, so it is no equivalence; and a list of properties is searched by name, so a
/// list that holds one object twice, or two objects of one name, can equal a list that does not equal it. The keys here
/// are necessary conditions only, and cover both.
struct MaterialKey
{
    /// A hash of everything that is compared exactly, but for the property list.
    u64 exact = 0;
    /// A hash of the names, classes and exact values of the distinct properties, in a fixed order.
    u64 shape = 0;
    /// Numbers of the properties in that order, as far as they go into the key.
    zr::vector<f64> numbers;
    /// How many different objects the property list holds, and whether it holds one more than once.
    std::size_t distinct = 0;
    bool isRepeating = false;
    /// Two different objects have the same name and class.
    bool isIrregular = false;
};

MaterialKey makeMaterialKey(const PropertiesSet& material);

/// Parts rows of numbers: rows in different classes differ by more than `tolerance` in some column, rows in one class
/// may or may not. NaN, which equals nothing, may be in any class.
///
/// rows     all of one length
/// returns  the class of each row. O(n log n) for each column
zr::vector<u32> partByTolerance(const zr::vector<const zr::vector<f64>*>& rows, f64 tolerance);
} // namespace model
