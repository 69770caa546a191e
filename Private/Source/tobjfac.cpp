// Object lists with references: elements that count them, lists that are scanned, and the factory
// that registers objects through both.

#include "movane/foundation.h"

#include "Support/memory.h"
#include "movane/numerics.h"
#include "movane/services.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr int kLargestNumber = 99999;
constexpr int kDigits        = 6;

TObjEl* object_element(void* element) {
    return static_cast<TObjEl*>(static_cast<TElement*>(element));
}

// Two readings, lest factories made in the same second all start alike.
int seed_from_clock() {
    system_time first;
    system_time second;
    get_system_time(&first);
    get_system_time(&second);
    return static_cast<int>(first.microseconds * 1000U + first.seconds + second.microseconds);
}

}  // namespace

// --- elements ----------------------------------------------------------------------------------

TObjEl::TObjEl(void* object) : object_(object), references_(1), error_(0) {}
TObjEl::~TObjEl()                              = default;
TObjEl::TObjEl(const TObjEl& other)            = default;
TObjEl& TObjEl::operator=(const TObjEl& other) = default;

int TObjEl::IsSameContent(void* content) { return object_ == content; }

void* TObjEl::iPt() { return object_; }
void TObjEl::RefCpp() { ++references_; }
void TObjEl::RefCmm() { --references_; }
int TObjEl::RefC() { return references_; }
int TObjEl::NoRefs() { return references_ < 1; }
int TObjEl::ErrNo() { return error_; }

int tObjListFindObj(void* element, void* object) {
    return object_element(element)->iPt() == object ? 0 : 1;
}

int tObjListFindObjSameContent(void* element, void* content) {
    return object_element(element)->IsSameContent(content) > 0 ? 0 : 1;
}

// --- lists ---------------------------------------------------------------------------------------

TObjList::TObjList() : error_(0), scan_(nullptr) {}
TObjList::TObjList(const TObjList& other)            = default;
TObjList& TObjList::operator=(const TObjList& other) = default;

TObjList::~TObjList() {
    while (TElement* const element = First()) {
        TObjList::Subtract(element);
        delete element;
    }
}

void TObjList::Destroy() {
    scan_ = nullptr;
    TList::Destroy();
}

TElement* TObjList::Subtract(TElement* element) {
    if (element && element == scan_) scan_ = element->Previous();
    return TList::Subtract(element);
}

int TObjList::ErrNo() { return error_; }

int TObjList::ScanObjectReset() {
    scan_ = nullptr;
    return 0;
}

void* TObjList::ScanObject(int restart) {
    if (restart != 0) scan_ = nullptr;
    TElement* const next = GetNext(scan_);
    if (!next) return nullptr;
    scan_ = next;
    return object_element(next)->iPt();
}

void* TObjList::GetCurrentScanObject() { return scan_; }

int TObjList::SetCurrentScanObject(void* element) {
    scan_ = static_cast<TElement*>(element);
    return 0;
}

// --- factories -----------------------------------------------------------------------------------

TObjFac::TObjFac()
    : objects_(nullptr), nr_objects_(0), error_(0), random_(random_new(seed_from_clock())) {
    objects_ = new TObjList;
    if (!objects_ || objects_->ErrNo() != 0) error_ = 1;
}

TObjFac::~TObjFac() {
    delete objects_;
    random_kill(random_);
}

TObjFac::TObjFac(const TObjFac& other)            = default;
TObjFac& TObjFac::operator=(const TObjFac& other) = default;

void* TObjFac::operator new(size_t bytes) noexcept { return movane::allocate(1, bytes); }
void TObjFac::operator delete(void* factory) noexcept { movane::release(factory); }

TObjEl* TObjFac::Find(void* object) {
    return objects_ ? object_element(objects_->Get(tObjListFindObj, object)) : nullptr;
}

void TObjFac::Drop(TObjEl* element) {
    objects_->Subtract(element);
    delete element;
    nr_objects_ = std::max(nr_objects_ - 1, 0);
}

int TObjFac::IncrRefc(void* object) {
    if (TObjEl* const known = Find(object)) {
        known->RefCpp();
    } else if (objects_) {
        if (TObjEl* const made = TObjFacCreateEl(object)) {
            objects_->Add(made);
            ++nr_objects_;
        }
    }
    return 0;
}

int TObjFac::GetRefc(void* object) {
    TObjEl* const element = Find(object);
    return element ? element->RefC() : 0;
}

void* TObjFac::DecrRefc(void* object) {
    if (TObjEl* const element = Find(object)) {
        element->RefCmm();
        if (element->NoRefs()) Drop(element);
    }
    return nullptr;
}

void* TObjFac::RemoveFromFactory(void* object) {
    for (TObjEl* element; (element = Find(object)) && element->RefC() != 0;) {
        element->RefCmm();
        if (element->NoRefs()) Drop(element);
    }
    return nullptr;
}

void* TObjFac::ScanObject(int restart) {
    return objects_ ? objects_->ScanObject(restart) : nullptr;
}

int TObjFac::ScanReset() { return objects_ ? objects_->ScanObjectReset() : 0; }

void* TObjFac::GetCurrentScanObject() {
    return objects_ ? objects_->GetCurrentScanObject() : nullptr;
}

int TObjFac::SetCurrentScanObject(void* element) {
    return objects_ ? objects_->SetCurrentScanObject(element) : 0;
}

TObjEl* TObjFac::TObjFacCreateEl(void* /*object*/) { return nullptr; }

int TObjFac::GetNrObj() { return nr_objects_; }

int TObjFac::ErrNo() { return error_; }

int TObjFac::MakeRandomName(const char* prefix, char* name, int size) {
    const std::size_t needed = std::strlen(prefix) + kDigits + 1;
    if (size < 0 || static_cast<std::size_t>(size) < needed || !random_) return -1;
    const int number = static_cast<int>(random_val(random_) * 100000.0);
    std::snprintf(name, needed, "%s%0*d", prefix, kDigits, std::min(number, kLargestNumber));
    return 0;
}
