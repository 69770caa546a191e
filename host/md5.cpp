// movane md5: digests of files, in the format of md5sum.

#include "failure.h"
#include "file.h"
#include "subcommands.h"

#include <movane/services.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace host {
namespace {

void digest(const std::string& path, unsigned char (&result)[16]) {
    const File file = open_input(path, true);
    MD5_CTX context;
    MD5Init(&context);
    unsigned char chunk[65536];
    while (const std::size_t size = std::fread(chunk, 1, sizeof chunk, file.get()))
        MD5Update(&context, chunk, static_cast<unsigned>(size));
    if (std::ferror(file.get())) throw Failure(path, "cannot be read", "check the disk");
    MD5Final(result, &context);
}

// A name that would break the line is escaped, and a "\" before the digest says so.
void print(const unsigned char (&result)[16], const std::string& path) {
    std::string name;
    for (const char c : path) {
        switch (c) {
            case '\\':
                name += "\\\\";
                break;
            case '\n':
                name += "\\n";
                break;
            case '\r':
                name += "\\r";
                break;
            default:
                name += c;
        }
    }
    if (name != path) std::putchar('\\');
    for (const unsigned char byte : result) std::printf("%02x", byte);
    std::printf("  %s\n", name.c_str());
}

}  // namespace

Action add_md5(CLI::App& app) {
    const auto files = std::make_shared<std::vector<std::string>>();
    app.add_option("FILE", *files, "files to digest")->required();
    return [files] {
        int code = kDone;
        for (const std::string& path : *files) {
            try {
                unsigned char result[16];
                digest(path, result);
                print(result, path);
            } catch (const Failure& failure) {
                code = fail(failure.what(), kFailed);  // the others are digested nonetheless
            }
        }
        return code;
    };
}

}  // namespace host
