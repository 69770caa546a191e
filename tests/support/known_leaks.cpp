// Memory that is meant to stay: copies of a CLUT share it, so no destructor releases it. The leak
// checker asks for its suppressions by this name.

extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
    return "leak:CLUT::CLUT\n";
}
