// What a convex hull tells of itself: its lists, a PostScript drawing, and walks for a debugger.

#include "Source/convexhull.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>

namespace {

using movane::for_each;

constexpr double kMargin = 72.0;  // points of PostScript, an inch

// Addresses are shown by their low 32 bits.
unsigned low_bits(const void* address) {
    return static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(address));
}

int to_int(double x) {
    if (x >= INT_MAX) return INT_MAX;
    if (x <= INT_MIN) return INT_MIN;
    return x == x ? static_cast<int>(x) : 0;
}

// Where an end point stands among the corners of a face; 3 when it does not.
std::ptrdiff_t corner_index(const tFaceStructure* face, const tVertexStructure* end) {
    return std::find(face->vertex, face->vertex + 3, end) - face->vertex;
}

}  // namespace

// --- the drawing -------------------------------------------------------------------------------

void TConvexHull::Print() const {
    double least[2] = {}, greatest[2] = {};
    int processed = 0, faces = 0, edges = 0;
    for (int k = 0; vertices_ && k < 2; ++k) least[k] = greatest[k] = vertices_->v[k];
    for_each(vertices_, [&](const tVertexStructure* v) {
        for (int k = 0; k < 2; ++k) {
            least[k]    = std::min(least[k], v->v[k]);
            greatest[k] = std::max(greatest[k], v->v[k]);
        }
        if (v->mark) ++processed;
    });
    for_each(faces_, [&](const tFaceStructure*) { ++faces; });
    for_each(edges_, [&](const tEdgeStructure*) { ++edges; });
    const int box[] = {to_int(std::floor(least[0])), to_int(std::floor(least[1])),
                       to_int(std::ceil(greatest[0])), to_int(std::ceil(greatest[1]))};

    std::printf("%%!PS\n");
    std::printf("%%%%BoundingBox: %d %d %d %d\n", box[0], box[1], box[2], box[3]);
    std::printf("%%%%HiResBoundingBox: %d %d %d %d\n", box[0], box[1], box[2], box[3]);
    std::printf("0 setlinewidth\n");
    std::printf("%f %f translate\n", kMargin - least[0], kMargin - least[1]);

    std::printf("\n%%%% Vertices:\tV = %d\n", processed);
    std::printf("%%%% index:\tx\ty\tz\n");
    for_each(vertices_, [](const tVertexStructure* v) {
        std::printf("%%%% %5d:\t%4.3f\t%4.3f\t%4.3f\n", v->vnum, v->v[0], v->v[1], v->v[2]);
    });

    std::printf("\n%%%% Faces:\tF = %d\n", faces);
    std::printf("%%%% Visible faces only: \n");
    for_each(faces_, [](const tFaceStructure* face) {
        const tVertexStructure* const* const corner = face->vertex;
        double a[2], b[2];
        SubVec(corner[1]->v, corner[0]->v, a);
        SubVec(corner[2]->v, corner[1]->v, b);
        if (!(a[0] * b[1] - a[1] * b[0] >= 0)) return;
        std::printf("%%%% vnums:  %d  %d  %d\n", corner[0]->vnum, corner[1]->vnum, corner[2]->vnum);
        std::printf("newpath\n");
        std::printf("%4.3f\t%4.3f\tmoveto\n", corner[0]->v[0], corner[0]->v[1]);
        std::printf("%4.3f\t%4.3f\tlineto\n", corner[1]->v[0], corner[1]->v[1]);
        std::printf("%4.3f\t%4.3f\tlineto\n", corner[2]->v[0], corner[2]->v[1]);
        std::printf("closepath stroke\n\n");
    });
    std::printf("%%%% List of all faces: \n");
    std::printf("%%%%\tv0\tv1\tv2\t(vertex indices)\n");
    for_each(faces_, [](const tFaceStructure* face) {
        std::printf("%%%%\t%d\t%d\t%d\n", face->vertex[0]->vnum, face->vertex[1]->vnum,
                    face->vertex[2]->vnum);
    });

    std::printf("\n%%%% Edges:\tE = %d\n", edges);
    std::printf("\nshowpage\n\n");
    std::fflush(stdout);
}

// --- the lists ---------------------------------------------------------------------------------

void TConvexHull::PrintOut(const tVertexStructure* v) const {
    if (v) std::fprintf(stderr, "\nHead vertex %d = %6x :\n", v->vnum, low_bits(v));
    PrintVertices();
    PrintEdges();
    PrintFaces();
}

void TConvexHull::PrintVertices() const {
    std::fprintf(stderr, "Vertex List\n");
    for_each(vertices_, [](const tVertexStructure* v) {
        std::fprintf(stderr, "  addr: %6x\t", low_bits(v));
        std::fprintf(stderr, "  vnum:%4d", v->vnum);
        for (const double x : v->v) std::fprintf(stderr, "\t%4.3f", x);
        std::fprintf(stderr, "  mark:%3d\n", v->mark);
    });
}

void TConvexHull::PrintEdges() const {
    std::fprintf(stderr, "Edge List\n");
    for_each(edges_, [](const tEdgeStructure* edge) {
        std::fprintf(stderr, "  addr: %6x\t", low_bits(edge));
        std::fprintf(stderr, "adj: ");
        for (const auto* face : edge->adjface) std::fprintf(stderr, "%6x", low_bits(face));
        std::fprintf(stderr, "  endpts:");
        for (const auto* end : edge->endpts) std::fprintf(stderr, "%4.d", end->vnum);
        std::fprintf(stderr, "  del:%3d\n", edge->delete_);
    });
}

void TConvexHull::PrintFaces() const {
    std::fprintf(stderr, "Face List\n");
    for_each(faces_, [](const tFaceStructure* face) {
        std::fprintf(stderr, "  addr: %10x  ", low_bits(face));
        std::fprintf(stderr, "  edges:");
        for (const auto* edge : face->edge) std::fprintf(stderr, "%10x ", low_bits(edge));
        std::fprintf(stderr, "  vert:");
        for (const auto* corner : face->vertex) std::fprintf(stderr, "%4d", corner->vnum);
        std::fprintf(stderr, "  vis: %d\n", face->visible);
    });
}

void TConvexHull::PrintPoint(const tVertexStructure* v) const {
    for (const double x : v->v) std::printf("\t%4.3f", x);
    std::printf("\n");
    std::fflush(stdout);
}

// --- walks for a debugger ------------------------------------------------------------------------

// Both faces of an edge run through it, in opposite directions; stops at the first where they do
// not.
void TConvexHull::Consistency() const {
    bool is_consistent = true;
    for_each(edges_, [&](const tEdgeStructure* edge) {
        if (!is_consistent) return;
        bool runs_forward[2] = {};
        for (int k = 0; k < 2; ++k) {
            const tFaceStructure* const face = edge->adjface[k];
            const std::ptrdiff_t from        = face ? corner_index(face, edge->endpts[0]) : 3;
            runs_forward[k] = from < 3 && face->vertex[(from + 1) % 3] == edge->endpts[1];
        }
        is_consistent = runs_forward[0] != runs_forward[1];
    });
}

// No processed vertex sees a face; stops at the first that does.
void TConvexHull::Convexity() const {
    bool is_convex = true;
    for_each(faces_, [&](const tFaceStructure* face) {
        for_each(vertices_, [&](const tVertexStructure* v) {
            is_convex = is_convex && !(v->mark && VolumeSign(face, v) < 0);
        });
    });
}

void TConvexHull::CheckEuler() const {}
void TConvexHull::Checks() const {}

void TConvexHull::CheckEndpts() const {
    for_each(faces_, [](const tFaceStructure*) {});
}
