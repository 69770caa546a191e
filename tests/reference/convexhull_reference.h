// The convex hull as plainly as it can be said: every step walks through all faces and all edges.
#pragma once

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <deque>
#include <map>
#include <utility>
#include <vector>

namespace reference {

struct Hull {
    struct Edge;
    struct Face;
    struct Vertex {
        std::array<double, 3> v;
        int number;
        Edge* duplicate;
        bool is_marked, is_on_hull;
    };
    struct Edge {
        Face* faces[2];
        Vertex* ends[2];
        Face* new_face;
        bool goes;
    };
    struct Face {
        Edge* edges[3];
        Vertex* corners[3];
        bool is_visible;
    };

    std::deque<Vertex> all_vertices;
    std::deque<Edge> all_edges;
    std::deque<Face> all_faces;
    std::vector<Vertex*> vertices;  // the lists, head first
    std::vector<Edge*> edges;
    std::vector<Face*> faces;
    std::array<double, 3> inner;

    void add(double x, double y, double z) {
        const int number = static_cast<int>(all_vertices.size());
        vertices.push_back(
            &all_vertices.emplace_back(Vertex{{x, y, z}, number, nullptr, false, false}));
    }

    static double volume(const Face& f, const std::array<double, 3>& p) {
        const auto &a = f.corners[0]->v, &b = f.corners[1]->v, &c = f.corners[2]->v;
        const double ax = a[0] - p[0], ay = a[1] - p[1], az = a[2] - p[2];
        const double bx = b[0] - p[0], by = b[1] - p[1], bz = b[2] - p[2];
        const double cx = c[0] - p[0], cy = c[1] - p[1], cz = c[2] - p[2];
        return ax * (by * cz - bz * cy) + ay * (bz * cx - bx * cz) + az * (bx * cy - by * cx);
    }

    static bool are_collinear(const Vertex& a, const Vertex& b, const Vertex& c) {
        const auto side = [](const Vertex& to, const Vertex& from, int k) {
            return to.v[k] - from.v[k];
        };
        for (const auto& [y, z] : {std::pair{1, 2}, {2, 0}, {0, 1}}) {
            const double product = side(b, a, y) * side(c, a, z) - side(b, a, z) * side(c, a, y);
            if (!(std::fabs(product) < DBL_EPSILON)) return false;
        }
        return true;
    }

    bool is_inside(const std::array<double, 3>& p) const {
        return std::none_of(faces.begin(), faces.end(),
                            [&](Face* f) { return volume(*f, p) < -0.5; });
    }

    bool construct() {
        const std::size_t n = vertices.size();
        std::size_t a       = 0;
        const auto at       = [&](std::size_t i) { return vertices[i % n]; };
        while (a < n && are_collinear(*at(a), *at(a + 1), *at(a + 2))) ++a;
        if (a == n) return false;
        for (std::size_t i = a; i < a + 3; ++i) at(i)->is_marked = true;
        Face* const front = make_face(at(a), at(a + 1), at(a + 2), nullptr);
        Face* const back  = make_face(at(a + 2), at(a + 1), at(a), front);
        for (Edge* e : front->edges) e->faces[1] = back;
        for (Edge* e : back->edges) e->faces[1] = front;
        std::size_t d = (a + 3) % n;
        while (d != a && !(std::fabs(volume(*front, vertices[d]->v)) > 0.5)) d = (d + 1) % n;
        if (d == a) return false;
        for (std::size_t k = 0; k < 3; ++k)
            inner[k] =
                at(a)->v[k] / 4 + at(a + 1)->v[k] / 4 + at(a + 2)->v[k] / 4 + at(d)->v[k] / 4;
        std::rotate(vertices.begin(), vertices.begin() + static_cast<std::ptrdiff_t>(d),
                    vertices.end());
        for (Vertex* v : std::vector(vertices)) {
            if (v->is_marked) continue;
            v->is_marked = true;
            grow_to(v);
            clean();
        }
        return true;
    }

    Edge* make_edge() { return edges.emplace_back(&all_edges.emplace_back(Edge{})); }

    Face* make_face(Vertex* a, Vertex* b, Vertex* c, Face* fold) {
        Edge* e[3];
        Vertex* const corners[] = {a, b, c};
        for (int i = 0; i < 3; ++i) {
            e[i]          = fold ? fold->edges[2 - i] : make_edge();
            e[i]->ends[0] = corners[i];
            e[i]->ends[1] = corners[(i + 1) % 3];
        }
        Face* const f =
            faces.emplace_back(&all_faces.emplace_back(Face{{e[0], e[1], e[2]}, {a, b, c}, false}));
        for (Edge* edge : e) edge->faces[0] = f;
        return f;
    }

    static bool sees(const Face* f) { return f && f->is_visible; }

    // Whether the border of what is seen is one polygon that meets no vertex twice.
    bool is_rim_simple() const {
        std::map<Vertex*, std::vector<Vertex*>> neighbours;
        for (const Edge* e : edges) {
            if (sees(e->faces[0]) == sees(e->faces[1])) continue;
            neighbours[e->ends[0]].push_back(e->ends[1]);
            neighbours[e->ends[1]].push_back(e->ends[0]);
        }
        std::vector<Vertex*> reached;
        if (!neighbours.empty()) reached.push_back(neighbours.begin()->first);
        for (std::size_t i = 0; i < reached.size(); ++i) {
            if (neighbours[reached[i]].size() != 2) return false;
            for (Vertex* v : neighbours[reached[i]])
                if (std::find(reached.begin(), reached.end(), v) == reached.end())
                    reached.push_back(v);
        }
        return !reached.empty() && reached.size() == neighbours.size();
    }

    // Whether the cone's faces look away from the middle of the first solid.
    bool is_cone_outward(Vertex* p) const {
        for (const Edge* e : edges) {
            if (sees(e->faces[0]) == sees(e->faces[1])) continue;
            const Face& seen = *e->faces[sees(e->faces[0]) ? 0 : 1];
            for (int i = 0; i < 3; ++i) {
                Vertex *a = seen.corners[i], *b = seen.corners[(i + 1) % 3];
                const bool is_edge =
                    (a == e->ends[0] && b == e->ends[1]) || (b == e->ends[0] && a == e->ends[1]);
                if (is_edge && volume(Face{{}, {a, b, p}, false}, inner) < 0) return false;
            }
        }
        return true;
    }

    void grow_to(Vertex* p) {
        for (Face* f : faces) f->is_visible = volume(*f, p->v) < -0.5;
        if (std::none_of(faces.begin(), faces.end(), sees)) return;
        if (!is_rim_simple() || !is_cone_outward(p))
            for (Face* f : faces) f->is_visible = volume(*f, p->v) < 0;
        if (!is_rim_simple() || !is_cone_outward(p)) {
            for (Face* f : faces) f->is_visible = false;
            return;
        }
        for (std::size_t i = 0; i < edges.size(); ++i) {
            Edge* const e = edges[i];
            if (sees(e->faces[0]) && sees(e->faces[1])) {
                e->goes = true;
            } else if (sees(e->faces[0]) || sees(e->faces[1])) {
                e->new_face = make_cone_face(e, p);
            }
        }
    }

    Face* make_cone_face(Edge* e, Vertex* p) {
        Edge* sides[2];
        for (int i = 0; i < 2; ++i) {
            Edge*& duplicate = e->ends[i]->duplicate;
            if (!duplicate) {
                duplicate          = make_edge();
                duplicate->ends[0] = e->ends[i];
                duplicate->ends[1] = p;
            }
            sides[i] = duplicate;
        }
        Face* const f =
            faces.emplace_back(&all_faces.emplace_back(Face{{e, sides[0], sides[1]}, {}, false}));
        const Face* seen = sees(e->faces[0]) ? e->faces[0] : e->faces[1];
        int i            = 0;
        while (seen->corners[i] != e->ends[0]) ++i;
        const bool is_along = seen->corners[(i + 1) % 3] == e->ends[1];
        f->corners[0]       = e->ends[is_along ? 0 : 1];
        f->corners[1]       = e->ends[is_along ? 1 : 0];
        f->corners[2]       = p;
        if (is_along) std::swap(f->edges[1], f->edges[2]);
        for (Edge* side : sides) {
            if (!side->faces[0]) {
                side->faces[0] = f;
            } else if (!side->faces[1]) {
                side->faces[1] = f;
            }
        }
        return f;
    }

    void clean() {
        for (Edge* e : edges) {
            if (e->new_face) e->faces[sees(e->faces[0]) ? 0 : 1] = e->new_face;
            e->new_face = nullptr;
        }
        std::erase_if(edges, [](Edge* e) { return e->goes; });
        std::erase_if(faces, [](Face* f) { return f->is_visible; });
        for (Edge* e : edges) e->ends[0]->is_on_hull = e->ends[1]->is_on_hull = true;
        std::erase_if(vertices, [](Vertex* v) { return v->is_marked && !v->is_on_hull; });
        for (Vertex& v : all_vertices) {
            v.is_on_hull = false;
            v.duplicate  = nullptr;
        }
    }
};

}  // namespace reference
