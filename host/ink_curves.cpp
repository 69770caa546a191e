#include "ink_curves.h"

#include "failure.h"
#include "file.h"

#include "movane/foundation.h"
#include "movane/interpolation.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace host {
namespace {

constexpr std::size_t kLargestFile = 1 << 20;  // bytes
constexpr std::size_t kLongestPath = 127;      // bytes, of the library's record files
constexpr double kFull             = 100;      // percent
constexpr char kRemedy[] = "give pairs of numbers from 0 to 1, two at least, under [patches]";

struct KillCurve {
    void operator()(grad_tab* curve) const { grad_tab_kill(curve); }
};

// What the library has posted since it was asked last; "" for nothing.
std::string latest_message() {
    const char* const message          = error_get();
    constexpr std::string_view kPrefix = "ERROR : ";
    std::string_view text              = message ? message : "";
    if (text.starts_with(kPrefix)) text.remove_prefix(kPrefix.size());
    return std::string(text);
}

std::string reason_of_failure() {
    const std::string message = latest_message();
    return message.empty() ? "for want of memory" : message;
}

}  // namespace

CurveFiles parse_curves(const std::vector<std::string>& words) {
    CurveFiles files;
    std::string common;
    for (const std::string& word : words) {
        std::string* place = &common;
        std::string file   = word;
        for (std::size_t c = 0; c < kInkNames.size(); ++c) {
            const std::string prefix = std::string(kInkNames[c]) + "=";
            if (!word.starts_with(prefix)) continue;
            place = &files[c];
            file  = word.substr(prefix.size());
        }
        if (!place->empty() || file.empty())
            throw UsageError("--curve: " + word +
                             " is to name a file, for all inks once, for one ink (cyan=FILE) once");
        *place = file;
    }
    for (std::string& file : files)
        if (file.empty()) file = common;
    return files;
}

InkCurves::InkCurves(const CurveFiles& files) {
    for (std::size_t c = 0; c < files.size(); ++c) luts_[c] = read(files[c]);
}

InkCurves::Lut InkCurves::read(const std::string& file) {
    Lut lut;
    for (std::size_t code = 0; code < lut.size(); ++code)
        lut[code] = static_cast<unsigned char>(code);
    if (file.empty()) return lut;

    read_input(file, kLargestFile);  // in words for what may be wrong with a file
    if (file.size() > kLongestPath)
        throw Failure(file, "has too long a path for a curve", "name it by at most 127 characters");
    const std::unique_ptr<grad_tab, KillCurve> curve(grad_tab_new(file.c_str(), 0, kFull, 0));
    if (!curve) throw Failure(file, "cannot be read (" + reason_of_failure() + ")", kRemedy);
    latest_message();  // reading has listed the pairs once already
    int state = 0, points = 0;
    for (double pair[2]; grad_tab_list(curve.get(), &state, pair); ++points)
        for (const double percent : pair)
            if (!(percent >= 0 && percent <= kFull))
                throw Failure(file, "holds tone values outside 0 to 1", kRemedy);
    if (const std::string message = latest_message(); !message.empty())
        throw Failure(file, "has a line that is no pair (" + message + ")", kRemedy);
    if (points < 2)
        throw Failure(file, points ? "holds one point only" : "holds no points of a curve",
                      kRemedy);

    for (unsigned char& code : lut) {
        double percent = code * kFull / 255;
        if (grad_tab_do(curve.get(), &percent, 1, &percent, 1, 1) != 0 || std::isnan(percent))
            throw Failure(file, "is not a curve (" + reason_of_failure() + ")",
                          "give each tone value once");
        code = static_cast<unsigned char>(std::clamp(percent, 0.0, kFull) * 255 / kFull + 0.5);
    }
    return lut;
}

void InkCurves::take(Line& line) {
    for (std::size_t x = 0; x < line.ink.size() / 4; ++x) {
        if (!line.alpha.empty() && line.alpha[x] == 0) continue;
        for (std::size_t c = 0; c < 4; ++c) line.ink[4 * x + c] = luts_[c][line.ink[4 * x + c]];
    }
    hand_on(line);
}

}  // namespace host
