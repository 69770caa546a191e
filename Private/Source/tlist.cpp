// Object lists: a doubly linked chain of elements that the host derives and the list owns.
//
// The elements carry the links, so that adding one never needs memory. A sorted list is searched
// by bisection all the same: comparisons are calls of the host, walking along the chain is cheap
// beside them.

#include "movane/foundation.h"

#include "Support/memory.h"

#include <utility>

// --- elements ----------------------------------------------------------------------------------

TElement::TElement() : previous_(nullptr), next_(nullptr) {}
TElement::~TElement()                                = default;
TElement::TElement(const TElement& other)            = default;
TElement& TElement::operator=(const TElement& other) = default;

void* TElement::operator new(size_t bytes) noexcept { return movane::allocate(1, bytes); }
void TElement::operator delete(void* element) noexcept { movane::release(element); }

TElement* TElement::Next() { return next_; }
TElement* TElement::Previous() { return previous_; }

int TElement::ListIndex() {
    int index = 0;
    for (const TElement* e = previous_; e; e = e->previous_) ++index;
    return index;
}

// --- life cycle of lists -------------------------------------------------------------------------

TList::TList(int (*compare)(void*, void*))
    : first_(nullptr), last_(nullptr), current_(nullptr), compare_(compare) {}
TList::TList() : TList(nullptr) {}
TList::~TList() { TList::Destroy(); }
TList::TList(const TList& other)            = default;
TList& TList::operator=(const TList& other) = default;

void* TList::operator new(size_t bytes) noexcept { return movane::allocate(1, bytes); }
void TList::operator delete(void* list) noexcept { movane::release(list); }

void TList::Destroy() {
    last_           = nullptr;
    current_        = nullptr;
    TElement* chain = std::exchange(first_, nullptr);
    while (chain) delete std::exchange(chain, chain->next_);
}

// --- adding --------------------------------------------------------------------------------------

// In front of `next`, at the end when that is null.
void TList::Insert(TElement* element, TElement* next) {
    TElement* const previous              = next ? next->previous_ : last_;
    element->previous_                    = previous;
    element->next_                        = next;
    (previous ? previous->next_ : first_) = element;
    (next ? next->previous_ : last_)      = element;
}

TElement* TList::Add(TElement* element) {
    if (!element) return nullptr;
    if (!compare_ || !first_ || compare_(last_, element) <= 0) {
        Insert(element, nullptr);
        return element;
    }
    if (compare_(first_, element) >= 0) {
        Insert(element, first_);
        return element;
    }
    TElement* low  = first_;
    TElement* high = last_;
    TElement* middle;
    do {
        // Walks inward from both ends, one link at a time, until they meet.
        middle = low;
        for (TElement* from_high = high; middle != from_high;) {
            from_high = from_high->previous_;
            if (middle != from_high) middle = middle->next_;
        }
        const int order = compare_(middle, element);
        if (order > 0 && middle != high) {
            high = middle;
        } else if (order < 0 && middle != low) {
            low = middle;
        } else {
            break;
        }
    } while (low != high);
    Insert(element, middle->next_);
    return element;
}

TElement* TList::Add(TElement* position, TElement* element) {
    if (element) Insert(element, first_ ? position : nullptr);
    return element;
}

TList& TList::operator+(TElement* element) {
    Add(element);
    return *this;
}

void TList::Sort() {
    if (!compare_) return;
    last_           = nullptr;
    TElement* chain = std::exchange(first_, nullptr);
    while (chain) Add(std::exchange(chain, chain->next_));
}

// --- taking out ----------------------------------------------------------------------------------

TElement* TList::Subtract(TElement* element) {
    if (!element) return nullptr;
    const TElement* start = element;
    while (start->previous_) start = start->previous_;
    if (start != first_) return element;

    TElement* const previous              = std::exchange(element->previous_, nullptr);
    TElement* const next                  = std::exchange(element->next_, nullptr);
    (previous ? previous->next_ : first_) = next;
    (next ? next->previous_ : last_)      = previous;
    if (element == current_) current_ = next ? next : last_;
    return next;
}

TList& TList::operator-(TElement* element) {
    Subtract(element);
    return *this;
}

// --- looking up ----------------------------------------------------------------------------------

int TList::Count() { return last_ ? last_->ListIndex() + 1 : 0; }

TElement* TList::Get(int n) {
    TElement* element = first_;
    for (; element && n > 0; --n) element = element->next_;
    return element;
}

TElement* TList::Get(int (*match)(void*, void*), void* key) {
    if (current_ && match(current_, key) == 0) return current_;
    TElement* element = first_;
    while (element && match(element, key) != 0) element = element->next_;
    return element;
}

TElement* TList::GetNext(TElement* element) { return element ? element->next_ : first_; }

int TList::Index(const TElement* element) {
    int index = 0;
    for (const TElement* e = first_; e; e = e->next_, ++index)
        if (e == element) return index;
    return -1;
}

TElement* TList::First() { return first_; }
TElement* TList::Last() { return last_; }
TElement* TList::Current() { return current_; }
void TList::SetCurrent(TElement* element) { current_ = element; }
