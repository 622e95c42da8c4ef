#pragma once

#include "materials/PropertiesSet.h"

namespace model
{
/// What two materials must share for `a.isEqual(b)` to be possible at all, so that only few pairs are compared in full.
///
/// Equality leaves a tolerance to floats, so it is no equivalence, and there is no key that is the same exactly for
/// equal materials. The fields here are necessary conditions only; of two irregular materials, or one, only `exact` is.
struct MaterialKey
{
    /// A hash of everything that is compared exactly, but for the properties themselves; their number is in it.
    u64 exact = 0;
    /// A hash of the names, classes and exact values of the properties, in the order of their names.
    u64 shape = 0;
    /// Numbers of the properties in that order, as far as they go into the key.
    zr::vector<f64> numbers;
    /// The property list holds two entries of one name and class. A script brings that about when it gives one property
    /// two roles, which renames it. The list is searched by name, so it can equal one that does not equal it.
    bool isIrregular = false;
};

/// Calls may run together as long as nobody changes the material or its properties.
MaterialKey makeMaterialKey(const PropertiesSet& material);

/// Parts rows of numbers: rows in different classes differ by more than `tolerance` in some column, rows in one class
/// may or may not. NaN, which equals nothing, may be in any class.
///
/// rows     all of one length
/// returns  the class of each row, from 0 on. O(n log n) for each column
///
/// For rows 0, 0.9, 1.8 and 9 and a tolerance of 1 these are 0, 0, 0 and 1: the first and the third row differ by more,
/// but a chain of neighbours joins them.
zr::vector<u32> partByTolerance(const zr::vector<const zr::vector<f64>*>& rows, f64 tolerance);
} // namespace model
