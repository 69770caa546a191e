// Names of archive entries as paths of files to be made. They are the one text of an archive that
// could do harm.
#pragma once

#include <string_view>

namespace movane {

/// True for a name that leads to a file inside the directory it is joined to, on every system:
/// neither empty nor absolute, without ":", "..", control characters and devices of Windows.
[[nodiscard]] bool stays_inside(std::string_view name);

}  // namespace movane
