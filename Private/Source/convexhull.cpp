// Convex hull, grown one point at a time (J. O'Rourke, "Computational Geometry in C", chapter 4).
//
// The faces that a new point sees go, and a cone from the point to the rim of the gap replaces
// them. The order of the lists is part of what hosts see, so records are always appended.
//
// Neither all faces nor all edges are walked through for it. Each face has the coefficients of its
// plane in a packed array: a point that lies clearly inside of a plane, by more than both ways to
// compute the volume may err, does not see the face, and for the few others the volume decides.
// Edges change only where a visible face is, and their numbers give the order of the list back.
// Vertices count their edges.
//
// The surface stays closed: each edge has two faces, since only cones on a simple rim are made.
// Records stay readable until the end of the hull, for copies whose heads are out of date.

#include "Source/convexhull.h"

#include "Support/memory.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>

namespace {

using movane::Block;
using movane::for_each;

constexpr double kTolerance       = 0.5;  // of the volume sign
constexpr std::size_t kFirstChunk = 64;

// Rounding errors of a volume, and of the same by the plane, are together below this times the
// cube of the largest extent (133 * 2^-53, doubled); the absolute part is for denormal numbers.
constexpr double kRelativeError = 256 * 0x1p-53;
constexpr double kAbsoluteError = 1e-9;

// Records that keep their address, taken and given back. A free one is a list of its own, linked to
// other free ones by `prev`.
template <class Record>
class Pool {
public:
    bool reserve(std::size_t count) {
        if (count <= free_count_) return true;
        if (chunk_count_ == std::size(chunks_)) return false;
        const std::size_t size = std::max(kFirstChunk << chunk_count_, count - free_count_);
        auto chunk             = movane::make_zeroed_block<Record>(size);
        if (!chunk) return false;
        for (std::size_t i = size; i-- > 0;) give_back(&chunk[i]);
        chunks_[chunk_count_++] = std::move(chunk);
        return true;
    }

    // There must be one.
    Record* take() {
        Record* const record = free_;
        free_                = record->prev;
        --free_count_;
        *record = Record{};
        return record;
    }

    void give_back(Record* record) {
        record->next = record;
        record->prev = free_;
        free_        = record;
        ++free_count_;
    }

private:
    Block<Record> chunks_[20];
    std::size_t chunk_count_ = 0;
    Record* free_            = nullptr;
    std::size_t free_count_  = 0;
};

template <class T>
bool grow(Block<T>& block, std::size_t used, std::size_t size) {
    auto larger = movane::make_zeroed_block<T>(size);
    if (!larger) return false;
    std::copy_n(block.get(), used, larger.get());
    block = std::move(larger);
    return true;
}

// --- planes ----------------------------------------------------------------------------------

constexpr std::size_t kPlanes = 8;

// The volume between a face and the point p is about d - n * p, p being relative to the centre.
struct PlaneBlock {
    double nx[kPlanes], ny[kPlanes], nz[kPlanes], d[kPlanes];
};

// A point relative to the centre, and what an estimated volume must reach for the exact one to be
// within the tolerance.
struct Probe {
    double p[3];
    double clear;
};

using Pair = double [[gnu::vector_size(2 * sizeof(double))]];

inline Pair load(const double* values) {
    Pair pair;
    std::memcpy(&pair, values, sizeof pair);
    return pair;
}

inline bool is_clear(const PlaneBlock& block, const Probe& probe) {
    const auto compare = [&](std::size_t i) {
        const Pair volume =
            load(block.d + i) - (load(block.nx + i) * probe.p[0] + load(block.ny + i) * probe.p[1] +
                                 load(block.nz + i) * probe.p[2]);
        return volume >= probe.clear;
    };
    const auto clear = compare(0) & compare(2) & compare(4) & compare(6);
    return (clear[0] & clear[1]) != 0;
}

// --- volume ----------------------------------------------------------------------------------

double determinant(const double* a, const double* b, const double* c) {
    return a[0] * (b[1] * c[2] - b[2] * c[1]) + a[1] * (b[2] * c[0] - b[0] * c[2]) +
           a[2] * (b[0] * c[1] - b[1] * c[0]);
}

// Of the face's corners less the point, each difference passing the given function.
template <class Pass>
double volume(const tFaceStructure& face, const double* p, Pass pass) {
    double rows[3][3];
    for (int i = 0; i < 3; ++i)
        for (int k = 0; k < 3; ++k) rows[i][k] = pass(face.vertex[i]->v[k] - p[k]);
    return determinant(rows[0], rows[1], rows[2]);
}

double volume(const tFaceStructure& face, const double* p) {
    return volume(face, p, [](double difference) { return difference; });
}

void cross_product(const double* a, const double* b, const double* c, double* cross) {
    for (int k = 0; k < 3; ++k) {
        const int y = (k + 1) % 3, z = (k + 2) % 3;
        cross[k] = (b[y] - a[y]) * (c[z] - a[z]) - (b[z] - a[z]) * (c[y] - a[y]);
    }
}

// --- lists -----------------------------------------------------------------------------------

template <class Record>
void append(Record*& head, Record* record) {
    if (!head) {
        head = record->next = record->prev = record;
        return;
    }
    record->next     = head;
    record->prev     = head->prev;
    head->prev->next = record;
    head->prev       = record;
}

template <class Record>
void unlink(Record*& head, Record* record) {
    if (head == record) head = record->next == record ? nullptr : record->next;
    record->prev->next = record->next;
    record->next->prev = record->prev;
    record->next = record->prev = record;
}

bool is_visible(const tFaceStructure* face) { return face && face->visible; }

}  // namespace

// What copies of a hull share. Heads are those of the copy that was changed last. Plane i belongs
// to face `plane_faces[i]`, whose slot is i. For each face there is room for three edges of either
// kind and for their ends.
struct ConvexHullLists {
    int owners = 1;
    tVertexStructure* vertex_head;
    tEdgeStructure* edge_head;
    tFaceStructure* face_head;

    Pool<tVertexStructure> vertices;
    Pool<tEdgeStructure> edges;
    Pool<tFaceStructure> faces;
    int vertex_count;
    std::uint64_t next_edge;

    double centre[3];
    double inner[3];  // the middle of the first solid
    double reach;     // the largest coordinate relative to the centre
    Block<PlaneBlock> planes;
    Block<tFaceStructure*> plane_faces;
    std::size_t plane_count;
    std::size_t plane_capacity;

    // What the point being added sees, and what it touches.
    Block<tFaceStructure*> seen_faces;
    Block<tEdgeStructure*> gone_edges;  // between two seen faces
    Block<tEdgeStructure*> rim_edges;   // of one seen face, in the order of the list
    Block<tVertexStructure*> touched_vertices;
    std::size_t seen_count;
    std::size_t gone_count;
    std::size_t rim_count;
    std::size_t touched_count;

    bool make_room(std::size_t more_edges, std::size_t more_faces);
    void find_extent(tVertexStructure* head);
    Probe probe(const double* p, double tolerance) const;
    void set_plane(tFaceStructure* face);
    void drop_plane(const tFaceStructure* face);
    void find_rim();
    bool is_rim_simple();
    bool is_cone_outward(const tVertexStructure* p) const;
    void forget_seen();
    void touch_ends(const tEdgeStructure* edge);

    /// Calls with each face that p sees, until a call gives false.
    template <class Call>
    void for_each_visible(const double* p, double tolerance, Call call) const;
};

bool ConvexHullLists::make_room(std::size_t more_edges, std::size_t more_faces) {
    if (!edges.reserve(more_edges) || !faces.reserve(more_faces)) return false;
    const std::size_t needed = plane_count + more_faces;
    if (needed <= plane_capacity) return true;
    const std::size_t size     = std::max({kFirstChunk, 2 * plane_capacity, needed}) / kPlanes + 1;
    const std::size_t capacity = size * kPlanes;
    if (!grow(planes, plane_capacity / kPlanes, size) ||
        !grow(plane_faces, plane_count, capacity) || !grow(seen_faces, seen_count, capacity) ||
        !grow(gone_edges, gone_count, 3 * capacity) || !grow(rim_edges, rim_count, 3 * capacity) ||
        !grow(touched_vertices, touched_count, 6 * capacity + 1))
        return false;
    plane_capacity = capacity;
    return true;
}

void ConvexHullLists::find_extent(tVertexStructure* head) {
    reach = 0;
    for (int k = 0; k < 3; ++k) {
        double least = DBL_MAX, greatest = -DBL_MAX;
        for_each(head, [&](const tVertexStructure* v) {
            least    = std::min(least, v->v[k]);
            greatest = std::max(greatest, v->v[k]);
        });
        centre[k] = least / 2 + greatest / 2;
        reach     = std::max(reach, greatest - centre[k]);
        reach     = std::max(reach, centre[k] - least);
    }
}

// Where a volume could overflow nothing is clear.
Probe ConvexHullLists::probe(const double* p, double tolerance) const {
    Probe probe;
    double extent = 2 * reach;
    for (int k = 0; k < 3; ++k) {
        probe.p[k] = p[k] - centre[k];
        extent += std::fabs(probe.p[k]);
    }
    const double cube = 16 * extent * extent * extent;
    probe.clear       = cube <= DBL_MAX ? kAbsoluteError + kRelativeError / 16 * cube - tolerance
                                        : std::numeric_limits<double>::quiet_NaN();
    return probe;
}

void ConvexHullLists::set_plane(tFaceStructure* face) {
    face->slot               = plane_count;
    plane_faces[plane_count] = face;
    ++plane_count;

    double normal[3], d = 0;
    const double* const a = face->vertex[0]->v;
    cross_product(a, face->vertex[1]->v, face->vertex[2]->v, normal);
    for (int k = 0; k < 3; ++k) d += normal[k] * (a[k] - centre[k]);
    PlaneBlock& block      = planes[face->slot / kPlanes];
    const std::size_t lane = face->slot % kPlanes;
    block.nx[lane]         = normal[0];
    block.ny[lane]         = normal[1];
    block.nz[lane]         = normal[2];
    block.d[lane]          = d;
}

// The last plane takes the free place.
void ConvexHullLists::drop_plane(const tFaceStructure* face) {
    tFaceStructure* const last = plane_faces[--plane_count];
    const std::size_t from = plane_count % kPlanes, to = face->slot % kPlanes;
    const PlaneBlock& source = planes[plane_count / kPlanes];
    PlaneBlock& target       = planes[face->slot / kPlanes];
    target.nx[to]            = source.nx[from];
    target.ny[to]            = source.ny[from];
    target.nz[to]            = source.nz[from];
    target.d[to]             = source.d[from];
    plane_faces[face->slot]  = last;
    last->slot               = face->slot;
}

// Each edge is found with the first face that counts for it.
void ConvexHullLists::find_rim() {
    for (std::size_t i = 0; i < seen_count; ++i) {
        for (tEdgeStructure* edge : seen_faces[i]->edge) {
            const bool sees[2] = {is_visible(edge->adjface[0]), is_visible(edge->adjface[1])};
            if (sees[0] && sees[1]) {
                if (!edge->delete_) gone_edges[gone_count++] = edge;
                edge->delete_ = 1;
            } else if ((sees[0] || sees[1]) && edge->adjface[sees[0] ? 0 : 1] == seen_faces[i]) {
                rim_edges[rim_count++] = edge;
            }
        }
    }
    std::sort(
        rim_edges.get(), rim_edges.get() + rim_count,
        [](const tEdgeStructure* e, const tEdgeStructure* f) { return e->number < f->number; });
}

// One closed polygon that meets no vertex twice: followed from its first edge, it has all others.
bool ConvexHullLists::is_rim_simple() {
    for (std::size_t i = 0; i < rim_count; ++i)
        for (tVertexStructure* end : rim_edges[i]->endpts) end->rim[0] = end->rim[1] = nullptr;
    for (std::size_t i = 0; i < rim_count; ++i) {
        for (tVertexStructure* end : rim_edges[i]->endpts) {
            if (end->rim[1]) return false;
            end->rim[end->rim[0] ? 1 : 0] = rim_edges[i];
        }
    }
    if (rim_count == 0) return false;
    const tEdgeStructure* edge  = rim_edges[0];
    const tVertexStructure* end = edge->endpts[1];
    std::size_t followed        = 0;
    do {
        edge = end->rim[end->rim[0] == edge ? 1 : 0];
        if (!edge) return false;
        end = edge->endpts[edge->endpts[0] == end ? 1 : 0];
        ++followed;
    } while (edge != rim_edges[0]);
    return followed == rim_count;
}

// A cone on slivers may be folded inward, and would then have everything outside.
bool ConvexHullLists::is_cone_outward(const tVertexStructure* p) const {
    for (std::size_t i = 0; i < rim_count; ++i) {
        const tEdgeStructure* const edge = rim_edges[i];
        const tFaceStructure* const seen = edge->adjface[is_visible(edge->adjface[0]) ? 0 : 1];
        const auto* const from = std::find(seen->vertex, seen->vertex + 3, edge->endpts[0]);
        const bool is_along    = seen->vertex[(from - seen->vertex + 1) % 3] == edge->endpts[1];
        tFaceStructure cone{};
        cone.vertex[0] = edge->endpts[is_along ? 0 : 1];
        cone.vertex[1] = edge->endpts[is_along ? 1 : 0];
        cone.vertex[2] = const_cast<tVertexStructure*>(p);
        if (volume(cone, inner) < 0) return false;
    }
    return true;
}

void ConvexHullLists::forget_seen() {
    for (std::size_t i = 0; i < seen_count; ++i) seen_faces[i]->visible = 0;
    for (std::size_t i = 0; i < gone_count; ++i) gone_edges[i]->delete_ = 0;
    seen_count = gone_count = rim_count = 0;
}

void ConvexHullLists::touch_ends(const tEdgeStructure* edge) {
    for (tVertexStructure* end : edge->endpts) touched_vertices[touched_count++] = end;
}

template <class Call>
void ConvexHullLists::for_each_visible(const double* p, double tolerance, Call call) const {
    const Probe at = probe(p, tolerance);
    for (std::size_t first = 0; first < plane_count; first += kPlanes) {
        const PlaneBlock& block = planes[first / kPlanes];
        if (is_clear(block, at)) continue;
        for (std::size_t i = 0; i < std::min(kPlanes, plane_count - first); ++i) {
            const double estimate = block.d[i] - (block.nx[i] * at.p[0] + block.ny[i] * at.p[1] +
                                                  block.nz[i] * at.p[2]);
            if (estimate >= at.clear) continue;
            tFaceStructure* const face = plane_faces[first + i];
            if (volume(*face, p) < -tolerance && !call(face)) return;
        }
    }
}

// --- life cycle --------------------------------------------------------------------------------

TConvexHull::TConvexHull()
    : vertices_(nullptr), edges_(nullptr), faces_(nullptr), count_(0), lists_(nullptr) {}

TConvexHull::TConvexHull(const TConvexHull& other)
    : vertices_(other.vertices_),
      edges_(other.edges_),
      faces_(other.faces_),
      count_(other.count_),
      lists_(other.lists_) {
    if (lists_) ++lists_->owners;
}

TConvexHull& TConvexHull::operator=(const TConvexHull& other) {
    if (other.lists_) ++other.lists_->owners;
    if (lists_ && --lists_->owners == 0) movane::destroy(lists_);
    vertices_ = other.vertices_;
    edges_    = other.edges_;
    faces_    = other.faces_;
    count_    = other.count_;
    lists_    = other.lists_;
    return *this;
}

TConvexHull::~TConvexHull() {
    if (lists_ && --lists_->owners == 0) movane::destroy(lists_);
}

// --- points and queries ------------------------------------------------------------------------

int TConvexHull::IsEmpty() const { return count_ == 0; }

int TConvexHull::AddPoint(double x, double y, double z) {
    const int number = count_++;
    if (!lists_) lists_ = movane::create<ConvexHullLists>().release();
    if (!lists_) return 0;

    vertices_                      = lists_->vertex_head;
    tVertexStructure* const vertex = MakeNullVertex();
    if (!vertex) return 0;
    vertex->v[0]        = x;
    vertex->v[1]        = y;
    vertex->v[2]        = z;
    vertex->vnum        = number;
    lists_->vertex_head = vertices_;
    return 0;
}

int TConvexHull::InsideHull(double x, double y, double z) const {
    tVertexStructure vertex{};
    vertex.v[0] = x;
    vertex.v[1] = y;
    vertex.v[2] = z;
    return InsideHull(&vertex);
}

int TConvexHull::InsideHull(tVertexStructure* p) const {
    if (!faces_) return 1;
    int is_inside = 1;
    lists_->for_each_visible(p->v, kTolerance, [&](const tFaceStructure*) {
        is_inside = 0;
        return false;
    });
    return is_inside;
}

int TConvexHull::Construct() {
    if (!lists_ || count_ > lists_->vertex_count) return -1;
    vertices_ = lists_->vertex_head;
    for_each(lists_->edge_head, [this](tEdgeStructure* edge) { lists_->edges.give_back(edge); });
    for_each(lists_->face_head, [this](tFaceStructure* face) { lists_->faces.give_back(face); });
    for_each(vertices_, [](tVertexStructure* vertex) { vertex->mark = vertex->edge_count = 0; });
    edges_              = nullptr;
    faces_              = nullptr;
    lists_->plane_count = 0;
    lists_->find_extent(vertices_);

    int result = DoubleTriangle();
    if (result == 0) result = ConstructHull();
    if (result == 0) EdgeOrderOnFaces();
    lists_->vertex_head = vertices_;
    lists_->edge_head   = edges_;
    lists_->face_head   = faces_;
    return result;
}

// --- records -----------------------------------------------------------------------------------

tVertexStructure* TConvexHull::MakeNullVertex() {
    if (!lists_->vertices.reserve(1)) return nullptr;
    tVertexStructure* const vertex = lists_->vertices.take();
    ++lists_->vertex_count;
    append(vertices_, vertex);
    return vertex;
}

tEdgeStructure* TConvexHull::MakeNullEdge() {
    tEdgeStructure* const edge = lists_->edges.take();
    edge->number               = lists_->next_edge++;
    append(edges_, edge);
    return edge;
}

tFaceStructure* TConvexHull::MakeNullFace() {
    tFaceStructure* const face = lists_->faces.take();
    append(faces_, face);
    return face;
}

tFaceStructure* TConvexHull::MakeFace(tVertexStructure* a, tVertexStructure* b, tVertexStructure* c,
                                      tFaceStructure* fold) {
    tVertexStructure* const corners[] = {a, b, c};
    tEdgeStructure* edges[3];
    for (int i = 0; i < 3; ++i) {
        edges[i]            = fold ? fold->edge[2 - i] : MakeNullEdge();
        edges[i]->endpts[0] = corners[i];
        edges[i]->endpts[1] = corners[(i + 1) % 3];
        if (!fold) corners[i]->edge_count += 2;  // each corner ends two of the edges
    }
    tFaceStructure* const face = MakeNullFace();
    for (int i = 0; i < 3; ++i) {
        face->edge[i]        = edges[i];
        face->vertex[i]      = corners[i];
        edges[i]->adjface[0] = face;
    }
    lists_->set_plane(face);
    return face;
}

// Corners in the order that makes the face look outward, seen from the face that it replaces.
void TConvexHull::MakeCcw(tFaceStructure* face, tEdgeStructure* edge, tVertexStructure* p) {
    const tFaceStructure* const seen = edge->adjface[is_visible(edge->adjface[0]) ? 0 : 1];
    int i                            = 0;
    while (i < 2 && seen->vertex[i] != edge->endpts[0]) ++i;
    const bool is_along = seen->vertex[(i + 1) % 3] == edge->endpts[1];
    face->vertex[0]     = edge->endpts[is_along ? 0 : 1];
    face->vertex[1]     = edge->endpts[is_along ? 1 : 0];
    face->vertex[2]     = p;
    if (is_along) std::swap(face->edge[1], face->edge[2]);
}

tFaceStructure* TConvexHull::MakeConeFace(tEdgeStructure* edge, tVertexStructure* p) {
    tEdgeStructure* sides[2];
    for (int i = 0; i < 2; ++i) {
        tVertexStructure* const end = edge->endpts[i];
        if (!end->duplicate) {
            end->duplicate            = MakeNullEdge();
            end->duplicate->endpts[0] = end;
            end->duplicate->endpts[1] = p;
            ++end->edge_count;
            ++p->edge_count;
        }
        sides[i] = end->duplicate;
    }
    tFaceStructure* const face = MakeNullFace();
    face->edge[0]              = edge;
    face->edge[1]              = sides[0];
    face->edge[2]              = sides[1];
    MakeCcw(face, edge, p);
    for (tEdgeStructure* side : sides) {
        tFaceStructure** const free = std::find(side->adjface, side->adjface + 2, nullptr);
        if (free != side->adjface + 2) *free = face;
    }
    lists_->set_plane(face);
    return face;
}

// --- predicates --------------------------------------------------------------------------------

int TConvexHull::VolumeSign(const tFaceStructure* face, const tVertexStructure* p) const {
    const double vol = volume(*face, p->v);
    return vol > kTolerance ? 1 : vol < -kTolerance ? -1 : 0;
}

double TConvexHull::Volumei(const tFaceStructure* face, const tVertexStructure* p) const {
    return volume(*face, p->v, [](double difference) { return std::round(difference); });
}

int TConvexHull::Collinear(const tVertexStructure* a, const tVertexStructure* b,
                           const tVertexStructure* c) const {
    double cross[3];
    cross_product(a->v, b->v, c->v, cross);
    return std::all_of(cross, cross + 3, [](double x) { return std::fabs(x) < DBL_EPSILON; });
}

// --- construction ------------------------------------------------------------------------------

// Two faces, back to back, of three successive vertices that are not collinear, also across the end
// of the list; the first vertex out of their plane becomes the head. Of fewer than three vertices,
// only such as are no numbers are not collinear, and nothing is out of their plane.
int TConvexHull::DoubleTriangle() {
    tVertexStructure* a = vertices_;
    if (!a || !lists_->make_room(3, 2)) return -1;
    while (Collinear(a, a->next, a->next->next)) {
        a = a->next;
        if (a == vertices_) return -1;
    }
    tVertexStructure* const b = a->next;
    tVertexStructure* const c = b->next;
    a->mark = b->mark = c->mark = 1;
    lists_->seen_count = lists_->gone_count = lists_->rim_count = 0;

    tFaceStructure* const front = MakeFace(a, b, c, nullptr);
    tFaceStructure* const back  = MakeFace(c, b, a, front);
    for (tEdgeStructure* edge : front->edge) edge->adjface[1] = back;
    for (tEdgeStructure* edge : back->edge) edge->adjface[1] = front;

    tVertexStructure* d = c->next;
    while (d != a && VolumeSign(front, d) == 0) d = d->next;
    if (d == a) return -1;
    for (int k = 0; k < 3; ++k)
        lists_->inner[k] = a->v[k] / 4 + b->v[k] / 4 + c->v[k] / 4 + d->v[k] / 4;
    vertices_ = d;
    return 0;
}

// Vertices that are not yet processed never leave the list, so one round meets all of them.
int TConvexHull::ConstructHull() {
    int left = 0;
    for_each(vertices_, [&](const tVertexStructure*) { ++left; });
    for (tVertexStructure* vertex = vertices_; vertex && left > 0; --left) {
        tVertexStructure* next = vertex->next;
        if (!vertex->mark) {
            vertex->mark = 1;
            if (AddPoint(vertex) != 0) return -1;
            CleanUp(&next);
        }
        vertex = next;
    }
    return 0;
}

// What a point sees beyond the tolerance may have holes and islands. It is then taken for all that
// it sees at all; a point that even so has no simple rim with an outward cone is dropped, since a
// cone would tear the surface.
int TConvexHull::AddPoint(tVertexStructure* p) {
    ConvexHullLists& l    = *lists_;
    l.touched_vertices[0] = p;
    l.touched_count       = 1;
    bool is_sound         = false;
    for (const double tolerance : {kTolerance, 0.0}) {
        l.forget_seen();
        l.for_each_visible(p->v, tolerance, [&](tFaceStructure* face) {
            face->visible                = 1;
            l.seen_faces[l.seen_count++] = face;
            return true;
        });
        if (l.seen_count == 0) {
            p->onhull = 0;
            return 0;
        }
        l.find_rim();
        is_sound = l.is_rim_simple() && l.is_cone_outward(p);
        if (is_sound) break;
    }
    if (!is_sound || !l.make_room(2 * l.rim_count, l.rim_count)) {
        l.forget_seen();
        return is_sound ? -1 : 0;
    }
    for (std::size_t i = 0; i < l.rim_count; ++i)
        l.rim_edges[i]->newface = MakeConeFace(l.rim_edges[i], p);
    return 0;
}

void TConvexHull::CleanUp(tVertexStructure** next) {
    CleanEdges();
    CleanFaces();
    CleanVertices(next);
}

void TConvexHull::CleanEdges() {
    ConvexHullLists& l = *lists_;
    for (std::size_t i = 0; i < l.rim_count; ++i) {
        tEdgeStructure* const edge                          = l.rim_edges[i];
        edge->adjface[is_visible(edge->adjface[0]) ? 0 : 1] = edge->newface;
        edge->newface                                       = nullptr;
        l.touch_ends(edge);
    }
    for (std::size_t i = 0; i < l.gone_count; ++i) {
        tEdgeStructure* const edge = l.gone_edges[i];
        for (tVertexStructure* end : edge->endpts) --end->edge_count;
        l.touch_ends(edge);
        unlink(edges_, edge);
        std::fill_n(edge->adjface, 2, nullptr);
        l.edges.give_back(edge);
    }
}

void TConvexHull::CleanFaces() {
    ConvexHullLists& l = *lists_;
    for (std::size_t i = 0; i < l.seen_count; ++i) {
        tFaceStructure* const face = l.seen_faces[i];
        l.drop_plane(face);
        unlink(faces_, face);
        l.faces.give_back(face);
    }
    l.seen_count = l.gone_count = l.rim_count = 0;
}

// A vertex may have been touched more than once: what left the list is no longer marked.
void TConvexHull::CleanVertices(tVertexStructure** next) {
    tVertexStructure** const first = lists_->touched_vertices.get();
    tVertexStructure** const last  = first + lists_->touched_count;
    std::for_each(first, last, [](tVertexStructure* v) { v->onhull = v->edge_count != 0; });
    std::for_each(first, last, [&](tVertexStructure* v) {
        if (!v->mark || v->onhull) return;
        if (v == *next) *next = v->next == v ? nullptr : v->next;
        unlink(vertices_, v);
        v->mark = 0;
    });
    std::for_each(first, last, [](tVertexStructure* v) {
        v->duplicate = nullptr;
        v->onhull    = 0;
    });
}

void TConvexHull::EdgeOrderOnFaces() {
    for_each(faces_, [](tFaceStructure* face) {
        for (int i = 0; i < 3; ++i) {
            const tVertexStructure* const from = face->vertex[i];
            const tVertexStructure* const to   = face->vertex[(i + 1) % 3];
            const auto joins                   = [&](const tEdgeStructure* e) {
                return (e->endpts[0] == from && e->endpts[1] == to) ||
                       (e->endpts[0] == to && e->endpts[1] == from);
            };
            if (joins(face->edge[i])) continue;
            tEdgeStructure** const match = std::find_if(face->edge, face->edge + 3, joins);
            if (match != face->edge + 3) std::swap(*match, face->edge[i]);
        }
    });
}

void TConvexHull::SubVec(const double* a, const double* b, double* difference) {
    difference[0] = a[0] - b[0];
    difference[1] = a[1] - b[1];
}
