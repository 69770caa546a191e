// The records of a convex hull, in circular lists, for its construction and its diagnostics.
#pragma once

#include "movane/gamut.h"

#include <cstddef>
#include <cstdint>

struct tVertexStructure {
    double v[3];
    int vnum;                   // points are numbered as they were added, from 0
    tEdgeStructure* duplicate;  // the cone's edge from here to the point being added, if any
    int onhull;                 // while cleaning: ends an edge
    int mark;                   // has been processed
    tVertexStructure* next;
    tVertexStructure* prev;
    int edge_count;          // edges that end here
    tEdgeStructure* rim[2];  // edges of the rim that end here, while it is looked at
};

struct tEdgeStructure {
    tFaceStructure* adjface[2];
    tVertexStructure* endpts[2];
    tFaceStructure* newface;  // the cone's face across this edge, if any
    int delete_;              // goes in this step
    tEdgeStructure* next;
    tEdgeStructure* prev;
    std::uint64_t number;  // ascends along the list
};

struct tFaceStructure {
    tEdgeStructure* edge[3];
    tVertexStructure* vertex[3];  // counter-clockwise seen from outside
    int visible;                  // from the point being added
    tFaceStructure* next;
    tFaceStructure* prev;
    std::size_t slot;  // of its plane
};

namespace movane {

/// Calls with each record of a circular list.
template <class Record, class Call>
void for_each(Record* head, Call call) {
    Record* record = head;
    if (!record) return;
    do {
        Record* const next = record->next;
        call(record);
        record = next;
    } while (record != head);
}

}  // namespace movane
