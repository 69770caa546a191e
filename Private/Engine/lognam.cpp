// Logical names: short names that stand for directories, defined by the host.

#include "movane/services.h"

#include "Engine/runtime.h"
#include "Support/memory.h"
#include "Support/report.h"

#include <cstring>
#include <utility>

namespace {

constexpr movane::Reporter report{"MOVANE/Private/Engine/lognam"};

constexpr std::size_t kTextSize = 256;  // bytes of a name or a translation, terminator included

struct LogicalName {
    movane::Owned<LogicalName> next;
    char name[kTextSize];
    char translation[kTextSize];
};

// process-wide: the names in use, the latest first.
constinit movane::Owned<LogicalName> names;

// The link that leads to the name, or the last link of the chain.
movane::Owned<LogicalName>& find(const char* name) {
    movane::Owned<LogicalName>* link = &names;
    while (*link && strcmp_ci((*link)->name, name) != 0) link = &(*link)->next;
    return *link;
}

bool fits(const char* text) { return std::strlen(text) < kTextSize; }

}  // namespace

int lognam_define(const char* name, const char* translation) {
    movane::Owned<LogicalName>& link = find(name);
    if (!translation) {
        if (link) link = std::exchange(link->next, nullptr);
        return 0;
    }
    if (name[0] == '\0' || std::strchr(name, ':') || !fits(name) || !fits(translation)) {
        report("lognam_define: illegal name or translation");
        return -1;
    }
    if (!link) {
        link = movane::create<LogicalName>();
        if (!link) {
            report("lognam_define: Not enough resources to define name");
            return -1;
        }
        std::strcpy(link->name, name);
    }
    std::strcpy(link->translation, translation);
    return 0;
}

int lognam(const char* name, char* translation, int size) {
    const movane::Owned<LogicalName>& found = find(name);
    if (!found || std::strlen(found->translation) >= static_cast<std::size_t>(size)) return -1;
    std::strcpy(translation, found->translation);
    return 0;
}
