// Scanline flood fill, driven by two callbacks of the host.
//
// A filled span casts shadows onto the lines above and below: candidates for the next spans. All
// shadows on one line are taken up together, from left to right; where a span meets shadows that
// were cast onto it from spans already filled, it need not look back at those (K. P. Fishkin and
// B. A. Barsky, "An analysis and algorithm for filling propagation", Graphics Interface 1985).
//
// The order of spans is that of one list of pending shadows, newest first, of which each taking of
// a line turns the rest around. Here nothing is walked: shadows are linked twice, among all and
// among those of their line, in chains that are read from either end; turning around changes the
// end. So a labyrinth costs no more per span than a disc does.
//
// A pending shadow never covers pixels that do not touch the span it was cast from, whatever is cut
// off it: that is what keeps the fill inside its region even when shadows were lost for memory.

#include "movane/imaging.h"

#include "Support/memory.h"
#include "Support/report.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Source/flood"};

struct Row;
struct Shadow;

struct Links {
    Shadow* toward[2];  // the neighbour nearer to either end
};

struct Chain {
    Shadow* ends[2];
};

// A span of candidates. Pending shadows are in two chains; active, spare and cancelled pending ones
// are in a list.
struct Shadow {
    Links among_all;
    Links in_row;
    Shadow* next;
    Row* row;  // on which it lies
    int lft, rgt;
    int parent_y;  // the line from which it was cast
    bool ok;       // not cancelled
};

// A line of the raster that was reached. The lines form a chain without gaps.
struct Row {
    int y;
    Row* before;  // y - 1
    Row* after;   // y + 1
    Chain pending;
};

// --- chains and lists --------------------------------------------------------------------------

template <Links Shadow::*kLinks>
void push(Chain& chain, Shadow& s, int end) {
    Shadow* const neighbour     = chain.ends[end];
    (s.*kLinks).toward[end]     = nullptr;
    (s.*kLinks).toward[1 - end] = neighbour;
    Shadow*& that_way = neighbour ? (neighbour->*kLinks).toward[end] : chain.ends[1 - end];
    that_way          = &s;
    chain.ends[end]   = &s;
}

template <Links Shadow::*kLinks>
void unlink(Chain& chain, Shadow& s) {
    for (const int end : {0, 1}) {
        Shadow* const neighbour = (s.*kLinks).toward[end];
        Shadow*& that_way = neighbour ? (neighbour->*kLinks).toward[1 - end] : chain.ends[end];
        that_way          = (s.*kLinks).toward[1 - end];
    }
}

void push(Shadow*& list, Shadow* s) {
    s->next = list;
    list    = s;
}

Shadow* pop(Shadow*& list) { return std::exchange(list, list->next); }

// Of equal left ends those of `first` come first.
Shadow* merged(Shadow* first, Shadow* second) {
    Shadow* result = nullptr;
    Shadow** last  = &result;
    while (first && second) {
        *last = pop(second->lft < first->lft ? second : first);
        last  = &(*last)->next;
    }
    *last = first ? first : second;
    return result;
}

// By left ends; equal ones keep their order.
Shadow* sorted(Shadow* list) {
    Shadow* runs[32] = {};  // run i has 2^i shadows, all of them before those of run i - 1
    while (list) {
        Shadow* run = pop(list);
        run->next   = nullptr;
        int i       = 0;
        for (; runs[i] && i < 31; ++i) run = merged(std::exchange(runs[i], nullptr), run);
        runs[i] = runs[i] ? merged(runs[i], run) : run;
    }
    Shadow* result = nullptr;
    for (Shadow* run : runs) result = run ? merged(run, result) : result;
    return result;
}

}  // namespace

// Invariant: between two calls of flood_do everything but the callbacks is empty.
struct flood {
    flood_inside inside;
    flood_fill fill;
    int line;
    Chain pending;
    int head;        // the end of the chains where new shadows go and old ones are looked for
    Shadow* active;  // of the current line, ascending by left end
    Shadow* current;
    Shadow* cancelled;  // still pending
    Shadow* spare;
    Row* row;  // of the current line
    void* user;
};

namespace {

bool fits(std::int64_t coordinate) {
    return coordinate == static_cast<std::int64_t>(static_cast<int>(coordinate));
}

// Nothing is inside beyond the ends of int.
bool is_inside(const flood& f, std::int64_t x) noexcept {
    return fits(x) && f.inside(f.user, static_cast<int>(x), f.line) != 0;
}

void fill_span(const flood& f, int x1, int x2) noexcept { f.fill(f.user, x1, x2, f.line); }

// --- shadows -----------------------------------------------------------------------------------

// The row beside or at the current one; null when it was not reached.
Row* find_row(const flood& f, int y) {
    if (!f.row || y == f.row->y) return f.row;
    return y < f.row->y ? f.row->before : f.row->after;
}

Row* reach_row(flood& f, int y) {
    if (Row* const found = find_row(f, y)) return found;
    Row* const row = movane::create<Row>().release();
    if (!row) return nullptr;
    row->y = y;
    if (!f.row) {
        f.row = row;
    } else if (y < f.row->y) {
        f.row->before = row;
        row->after    = f.row;
    } else {
        f.row->after = row;
        row->before  = f.row;
    }
    return row;
}

Shadow* new_shadow(flood& f, int lft, int rgt, int y, int parent_y) {
    Row* const row  = reach_row(f, y);
    Shadow* const s = !row ? nullptr : f.spare ? pop(f.spare) : movane::create<Shadow>().release();
    if (!s) {
        report("new_shdw: malloc failure");
        return nullptr;
    }
    s->row      = row;
    s->lft      = lft;
    s->rgt      = rgt;
    s->parent_y = parent_y;
    s->ok       = true;
    push<&Shadow::among_all>(f.pending, *s, f.head);
    push<&Shadow::in_row>(row->pending, *s, f.head);
    return s;
}

// Casts a shadow from the current line. Without memory, and beyond the ends of int, it is lost; so
// is one that is empty.
void cast_shadow(flood& f, std::int64_t lft, std::int64_t rgt, std::int64_t y) {
    if (lft > rgt || !fits(y)) return;
    new_shadow(f, static_cast<int>(lft), static_cast<int>(rgt), static_cast<int>(y), f.line);
}

void remove_pending(flood& f, Shadow& s) {
    unlink<&Shadow::among_all>(f.pending, s);
    unlink<&Shadow::in_row>(s.row->pending, s);
}

// --- one line ----------------------------------------------------------------------------------

// Takes up the shadows of the line on which the newest one lies.
void make_line(flood& f) {
    while (f.cancelled) {
        Shadow* const s = pop(f.cancelled);
        remove_pending(f, *s);
        push(f.spare, s);
    }
    Shadow* const newest = f.pending.ends[f.head];
    if (!newest) return;
    f.row  = newest->row;
    f.line = f.row->y;

    Shadow* oldest_first = nullptr;
    while (Shadow* const s = f.row->pending.ends[f.head]) {
        remove_pending(f, *s);
        push(oldest_first, s);
    }
    f.active = sorted(oldest_first);
    f.head   = 1 - f.head;
}

// Takes the part of pending shadow `u` that lies over the active shadow `t`, both of which look
// across the same border between two lines, out of both.
void cut_overlap(flood& f, Shadow& t, Shadow& u) {
    const std::int64_t before = std::int64_t{t.lft} - 2, behind = std::int64_t{t.rgt} + 2;
    const int y = u.row->y;
    cast_shadow(f, u.lft, std::min<std::int64_t>(u.rgt, before), y);
    cast_shadow(f, std::max<std::int64_t>(u.lft, behind), u.rgt, y);
    if (std::exchange(u.ok, false)) push(f.cancelled, &u);
    if (t.rgt <= std::int64_t{u.rgt} + 1) {
        t.ok = false;
    } else {
        t.lft = std::max(t.lft, u.rgt + 2);
    }
}

// Of the shadows that span x1 to x2 meets, and of those it cast just now, what is known already.
void remove_overlaps(flood& f, int x2) {
    Shadow** link = &f.active;
    while (Shadow* const t = *link) {
        if (t->lft > x2) return;
        if (!t->ok) {
            push(f.spare, pop(*link));
            continue;
        }
        Row* const row = find_row(f, t->parent_y);
        if (Shadow* const u = row ? row->pending.ends[f.head] : nullptr) {
            cut_overlap(f, *t, *u);
        } else {
            report("remove_overlap: algorithm failure");
        }
        link = &t->next;
    }
}

void cast_shadows(flood& f, const Shadow& from, int x1, int x2) {
    const std::int64_t line = f.line;
    if (f.line == from.parent_y) {
        cast_shadow(f, x1, x2, line + 1);
        cast_shadow(f, x1, x2, line - 1);
        return;
    }
    const int onward = f.line < from.parent_y ? -1 : 1;
    cast_shadow(f, x1, x2, line + onward);
    // The pixels beside a shadow's ends are known: what ends there is not inside.
    cast_shadow(f, x1, std::int64_t{from.lft} - 2, line - onward);
    cast_shadow(f, std::int64_t{from.rgt} + 2, x2, line - onward);
}

void scan(flood& f, const Shadow& s) {
    for (std::int64_t x = s.lft; x <= s.rgt; ++x) {
        if (!is_inside(f, x)) continue;
        std::int64_t start = x;
        if (x == s.lft) {
            while (is_inside(f, start - 1)) --start;
        }
        while (is_inside(f, x)) ++x;
        const int x1 = static_cast<int>(start), x2 = static_cast<int>(x - 1);
        fill_span(f, x1, x2);
        cast_shadows(f, s, x1, x2);
        remove_overlaps(f, x2);
    }
}

void release_all(flood& f) {
    while (f.spare) movane::destroy(pop(f.spare));
    if (!f.row) return;
    while (f.row->before) f.row = f.row->before;
    while (f.row) movane::destroy(std::exchange(f.row, f.row->after));
}

}  // namespace

// --- life cycle --------------------------------------------------------------------------------

flood* flood_new(flood_inside inside, flood_fill fill) {
    auto f = movane::create<flood>();
    if (!f) {
        report("flood_new: malloc failure");
        return nullptr;
    }
    f->inside = inside;
    f->fill   = fill;
    return f.release();
}

int flood_kill(flood* f) {
    movane::destroy(f);
    return 0;
}

// --- filling -----------------------------------------------------------------------------------

int flood_do(flood* f, void* user, int x, int y) {
    f->user = user;
    if (!new_shadow(*f, x, x, y, y)) report("flood_do: new_shdw failed");
    while (f->pending.ends[f->head]) {
        make_line(*f);
        while (f->active) {
            f->current = pop(f->active);
            if (f->current->ok) scan(*f, *f->current);
            push(f->spare, f->current);
        }
    }
    release_all(*f);
    return 1;
}
