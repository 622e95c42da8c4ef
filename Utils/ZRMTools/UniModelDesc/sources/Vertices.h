#pragma once

#include <span>

#include <boost/container/flat_map.hpp>

#include "base/types.h"
#include "materials/VertexFormat.h"
#include "mesh/PackedVertices.h"
#include "mesh/Semantics.h"
#include "mesh/VertexSources.h"
#include <zr/containers.h>

namespace io
{
class IBinaryFileW;
}

namespace model
{
/// One vertex attribute: `stride` floats for each vertex, vertex after vertex.
struct Attribute
{
    zr::vector<f32> data;
    u32 stride = 0;

    /// Whole vertices that the data hold; 0 for a `stride` of 0.
    std::size_t count() const { return stride ? data.size() / stride : 0; }
};

/// A selector and the matrix (16 values, not owned) that its vertices go through.
struct SelectorMatrix
{
    u32 selector = 0;
    const f64* matrix = nullptr;
};

/// What `entryIndexOf` gives for a float that is no index.
constexpr u32 kNoEntry = 0xFFFFFFFFu;

/// Reads a float as an index: 0.5 is added and the fraction cut. NaN and what lies outside of 0 to 2^32 - 1 after that
/// are no index and give `kNoEntry`.
u32 entryIndexOf(f32 value);

/// The vertices of a mesh: one array of floats for each semantic, in ascending order of the semantics.
///
/// A mesh is held in one of three forms: as attributes; from `share` on, as arrays shared with the blocks of a script
/// (`VertexSources`); or from `pack` on, as it is welded, compared and written, packed. In the latter two the
/// attributes are empty and know their strides. Whoever asks for an attribute turns the mesh back into attributes; all
/// other operations take each form. An object is for one thread at a time, to read too.
///
/// All attributes are to hold the same number of vertices. Scripts can break that, so every operation that would read
/// beyond an attribute's end checks it (`checkConsistent`) or leaves the missing vertices out, as told at each.
///
/// The fourth float of a POSITION0 of width 4 is the index of the parent entry that moves the vertex, the *selector*
/// of the operations below, or four packed bone bytes. It is only ever copied by its bits.
class Vertices
{
public:
    /// In one piece with the mesh while there are few: a scene has thousands of meshes, most of three attributes.
    using Attributes =
        boost::container::flat_map<i32, Attribute, std::less<i32>, zr::small_vector<std::pair<i32, Attribute>, 4>>;

    /// The attribute, created empty with `stride` 0 when it isn't there. References to attributes stay valid until one
    /// is created or erased.
    Attribute& operator[](i32 semantic) { return unpacked()[semantic]; }
    /// @throws zr::ExtException "Vertices don't have {} attribute."
    Attribute& getAttribute(i32 semantic);
    const Attribute& getAttribute(i32 semantic) const;
    /// Null when it isn't there.
    Attribute* findAttribute(i32 semantic);
    const Attribute* findAttribute(i32 semantic) const;
    /// Returns whether there was one.
    bool erase(i32 semantic);

    Attributes& getAttributes() { return unpacked(); }
    const Attributes& getAttributes() const { return unpacked(); }
    /// For semantics and strides alone: where the floats are is not told.
    const Attributes& getLayout() const { return attributes; }
    /// The floats of an attribute, where they already lie together; otherwise as by `getAttribute`. Valid until the
    /// mesh is changed or asked for an attribute.
    std::span<const f32> floatsOf(i32 semantic) const;
    /// Whether there is no attribute at all.
    bool empty() const { return attributes.empty(); }
    /// The same attributes and strides, and no vertex.
    Vertices withoutData() const;

    /// Makes an attribute of `stride` floats a vertex, or replaces it. The first `width` of these come from `floats`,
    /// the others are 0. The first attribute of a mesh says how many vertices there are, floats left over don't count.
    /// One that doesn't fit that number becomes a plain array with all its floats, and so do the others.
    void share(i32 semantic, u32 stride, u32 width, SharedFloats floats);
    /// The same without an array: all floats are 0.
    void addZeros(i32 semantic, u32 stride);
    /// Sets one float of each vertex. There are at least so many floats, and `place` is below the attribute's stride.
    void shareOne(i32 semantic, u32 place, SharedFloats floats);
    /// Whether these are shared arrays, with positions that all belong to the selector 0.
    bool isOneSource() const;
    /// Appends the vertices of a mesh that `isOneSource` and has the same attributes; they belong to `selector` from
    /// now on. For a mesh that has no other vertices than such.
    void appendSource(Vertices mesh, u32 selector);
    void reserveSources(std::size_t count) { sources.reserve(count); }

    /// The packed form, from now on. Null when there is no vertex, or no float in one.
    /// @throws as `checkConsistent`
    PackedVertices* pack();
    /// Null for a mesh that is not packed.
    const PackedVertices* getPacked() const { return packed ? &packed : nullptr; }
    /// Takes vertices of this mesh's strides in the place of its own.
    void setPacked(PackedVertices newVertices);
    /// Floats of a packed vertex in front of this attribute.
    std::size_t offsetOf(i32 semantic) const;

    /// Whole vertices of the attribute with the lowest semantic; 0 without attributes or for a `stride` of 0.
    u32 getVertexCount() const;
    /// Floats of one packed vertex: the sum of all strides.
    u32 getStride() const;
    /// Of one attribute; 0 when it isn't there.
    u32 strideOf(i32 semantic) const;

    /// Whether each attribute's size is a multiple of its `stride` (with a `stride` of 0: empty).
    bool isValid() const;
    /// Asks for the data of attributes ahead of their use.
    void prefetch() const;

    /// Whether this is valid and all attributes of a `stride` above 0 hold `getVertexCount()` vertices.
    bool isConsistent() const;
    /// @throws zr::ExtException "Vertex data is invalid." unless `isConsistent()`
    void checkConsistent() const;

    /// The strides by semantic.
    /// @throws std::out_of_range "zr::array: index out of range" for a semantic outside 0 to 26
    void getFormat(VertexFormat& format) const;
    /// Whether the strides of the semantics 0 to 26 are those of `format`.
    bool matchesFormat(const VertexFormat& format) const;
    /// Replaces all attributes by empty ones of these strides.
    void setFormat(const VertexFormat& format);

    /// For each vertex in turn, the floats of each attribute in ascending semantic.
    /// @throws as `checkConsistent`
    zr::vector<f32> interleave() const;
    /// The same, into room for `getVertexCount() * getStride()` floats, which needs no alignment. Nothing is allocated.
    void interleaveInto(void* out) const;
    /// The same of `count` vertices from `first` on. For consistent vertices; not checked.
    void interleaveInto(void* out, std::size_t first, std::size_t count) const;
    /// The reverse, into the attributes that are there; each is sized for `vertexCount`.
    /// @throws zr::ExtException "Vertex data is invalid." when `floats` is too short, with nothing changed
    void deinterleave(const zr::vector<f32>& floats, u32 vertexCount);

    /// The vertex block of a file, which may refer to packed vertices until it has been used.
    /// @throws as `checkConsistent`, before anything is written
    void write(io::IBinaryFileW& file) const;

    /// Moves the vertices that `selector` selects (all of them when POSITION0 has three floats): positions as points
    /// through the matrix, directions through the inverse transpose of its scale-free 3 by 3 block.
    void applyMatrix(const f64* m, u32 selector);
    /// `applyMatrix` of each pair in list order, in one pass over the vertices however many selectors there are.
    void applyMatrices(const zr::vector<SelectorMatrix>& list);

    /// The box of the positions that `selector` selects; not set when there is none.
    Box computeBox(u32 selector) const;
    /// `computeBox` of the selectors 0 to `count` - 1, in one pass over the vertices.
    zr::vector<Box> computeBoxes(std::size_t count) const;

    /// Whether `other` has the same attributes, with the same strides.
    bool hasAttributesOf(const Vertices& other) const;
    /// Appends the vertices of `other`, which must have the same attributes; false, with nothing changed, otherwise.
    bool append(const Vertices& other);

private:
    Attributes& unpacked() const;
    void deinterleaveFrom(const f32* floats, std::size_t count) const;
    /// Calls `function(positions, step, count)` for as many positions at a time as lie together.
    template <class Function>
    void forPositions(Function function) const;

    // For the form of `VertexSources`.
    bool isSharing() const { return !sources.empty(); }
    /// Whether an attribute can be added to the arrays that are shared.
    bool canShare(i32 semantic) const { return sources.size() == 1 && !attributes.contains(semantic); }
    void resolveSources() const;
    void interleaveSources(u8* out, std::size_t first, std::size_t count) const;
    void interleaveSource(u8* out, const VertexSource& source, std::size_t first, std::size_t count) const;
    void movePacked(f32* floats, std::size_t count, const zr::vector<VertexMove>& moves) const;
    /// Positions of four floats of one source.
    void readPositions(f32* out, const VertexSource& source, std::size_t first, std::size_t count) const;
    /// Returns how many matrices it has noted for later, from the front of the list.
    std::size_t postpone(const zr::vector<SelectorMatrix>& list);

    /// Logically these are one value in three forms, and reading may change the form.
    mutable Attributes attributes;
    mutable PackedVertices packed;
    mutable VertexSources sources;
};
} // namespace model
