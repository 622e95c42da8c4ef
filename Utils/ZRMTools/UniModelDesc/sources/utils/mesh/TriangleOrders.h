#pragma once

#include <parallel_hashmap/phmap.h>

#include "base/types.h"
#include <zr/containers.h>

namespace model
{
/// Of vertices, in the cache that orders are judged by.
constexpr u32 kCacheSize = 16;

struct TriangleOrder
{
    zr::vector<u32> indices;
    /// Vertices transformed, as `meshopt_analyzeVertexCache` counts them.
    u32 numMisses;
};

/// Finds the library's order of triangles, with one search for all that is equal, within a mesh and among meshes.
///
/// A *closed piece* is a run of triangles whose vertices occur neither before nor behind it. The library orders each as
/// if it were alone, and finishes one before it begins the next:
/// - It goes on at the vertices used last, by how lately that was and by how many of their triangles are left. Vertices
///   of earlier pieces have none left, and stand in its cache behind all others, so they have no influence.
/// - Where no such triangle is left, it goes on at the first one of the list that is, and so within the piece if there
///   is any.
/// - The numbers of vertices decide nothing, so pieces whose indices differ by a constant have the same order.
///
/// The analysis, too, counts in each piece what it would count in it alone: what its cache holds of other pieces is not
/// asked for again, and leaves by its own misses.
///
/// What was kept changes only the time, so any number of these objects give equal results. Each thread needs its own.
class TriangleOrders
{
public:
    /// In indices. Longer pieces are not kept.
    static constexpr std::size_t kMaxLength = std::size_t{1} << 16;
    /// When there are as many pieces, or indices in all of them, no more are kept until the next list starts anew.
    static constexpr std::size_t kMaxPieces = std::size_t{1} << 14;
    static constexpr std::size_t kMaxIndices = std::size_t{1} << 20;

    /// The list in the order that one call of `meshopt_optimizeVertexCache` gives it. There is one call for all that
    /// isn't known; what is known takes about a tenth of the time.
    ///
    /// list          triangles with indices below `numVertices`
    /// closedPieces  the first triangle of each, and behind them the number of triangles
    TriangleOrder order(const zr::vector<u32>& list, std::size_t numVertices, const zr::vector<u32>& closedPieces);

private:
    /// What pieces whose indices differ by a constant have in common.
    struct Shape
    {
        /// In `indices`. They are relative to the piece's first: as they come, and behind these in their order.
        std::size_t begin;
        std::size_t length;
        u32 numMisses = 0;
    };
    struct Piece
    {
        std::size_t length() const { return end - begin; }

        std::size_t begin;
        std::size_t end;
        /// In `shapes`, or `kNoShape`.
        u32 shape;
        /// Its order has to be searched for.
        bool isNew;
    };
    static constexpr u32 kNoShape = 0xFFFFFFFFu;

    /// The piece with its shape. One that is new is kept with its order still missing.
    Piece find(const zr::vector<u32>& list, std::size_t begin, std::size_t end);
    static zr::vector<u32> collectNew(const zr::vector<u32>& list, const zr::vector<Piece>& pieces);
    /// Keeps the orders of the new pieces, which `searched` has one behind the other. Returns the misses of all pieces.
    u32 keepOrders(const zr::vector<u32>& list, const zr::vector<Piece>& pieces, const u32* searched,
                   std::size_t numVertices);
    /// Moves the new pieces from the start of `ordered` to their places, and writes the others.
    void spread(const zr::vector<u32>& list, const zr::vector<Piece>& pieces, std::size_t numSearched,
                u32* ordered) const;
    bool isFull() const { return shapes.size() >= kMaxPieces || indices.size() >= 2 * kMaxIndices; }

    zr::vector<Shape> shapes;
    /// Of shapes, by their hash. Of two with one hash the second is searched for each time.
    phmap::flat_hash_map<u64, u32> numbers;
    zr::vector<u32> indices;
};
} // namespace model
