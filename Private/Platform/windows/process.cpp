#include "Platform/process.h"

#include "Platform/windows/utf16.h"

namespace movane::process {
namespace {

// One argument, quoted by the rules of the C runtime that takes the line apart again: a
// backslash stands for itself unless a quotation mark follows the run of them.
bool append_quoted(Utf16& line, std::wstring_view argument) noexcept {
    bool fits               = line.append(L" \"");
    std::size_t backslashes = 0;
    for (const wchar_t& c : argument) {
        if (c == L'"') {
            for (++backslashes; backslashes > 0; --backslashes) fits = fits && line.append(L"\\");
        }
        backslashes = c == L'\\' ? backslashes + 1 : 0;
        fits        = fits && line.append({&c, 1});
    }
    for (; backslashes > 0; --backslashes) fits = fits && line.append(L"\\");
    return fits && line.append(L"\"");
}

HANDLE handle_of(Child child) noexcept { return reinterpret_cast<HANDLE>(child); }

}  // namespace

Child start(std::span<const char* const> arguments) noexcept {
    const Utf16 program(arguments.front());
    Utf16 line("\"");
    if (!line.append(program.get()) || !line.append(L"\"")) return 0;
    for (const char* argument : arguments.subspan(1)) {
        if (!append_quoted(line, Utf16(argument).get())) return 0;
    }

    STARTUPINFOW startup        = {};
    startup.cb                  = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(program.get(), line.get(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
        return 0;
    CloseHandle(process.hThread);
    return reinterpret_cast<Child>(process.hProcess);
}

int wait(Child child) noexcept {
    DWORD status         = 0;
    const bool has_ended = WaitForSingleObject(handle_of(child), INFINITE) == WAIT_OBJECT_0 &&
                           GetExitCodeProcess(handle_of(child), &status) != 0;
    CloseHandle(handle_of(child));
    return has_ended ? static_cast<int>(status) : -1;
}

void kill(Child child) noexcept { TerminateProcess(handle_of(child), static_cast<UINT>(-1)); }

}  // namespace movane::process
