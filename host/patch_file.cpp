// A table is a list of field names and as many rows of values, words apart by blanks:
//
//   BEGIN_DATA_FORMAT
//   SAMPLE_ID CMYK_C CMYK_M CMYK_Y CMYK_K LAB_L LAB_A LAB_B
//   END_DATA_FORMAT
//   BEGIN_DATA
//   1 0 0 0 0 95.0 0.0 -2.0
//   END_DATA
//
// in front of which KEYWORD VALUE lines may stand.

#include "patch_file.h"

#include "failure.h"
#include "file.h"
#include "point_list.h"

#include <lcms2.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

namespace host {
namespace {

constexpr std::size_t kLargestFile = 64 << 20;  // bytes
constexpr std::size_t kMostFields = 1000, kMostPatches = 100'000;
constexpr std::size_t kLongestDescription = 200;   // bytes
constexpr double kFullScale               = 100;   // of device values
constexpr double kLargestLight            = 1000;  // of X, Y, Z, L*, a*, b*
constexpr double kPaperSlop               = 1e-6;  // of device values 0..1
constexpr char kRemedy[]                  = "name a CGATS file of measured patches";

// One word after the other, with the number of its line.
class Words {
public:
    explicit Words(std::string_view text) : text_(text) {}

    /// False at the end. Quotation marks hold words together, and do not reach over lines.
    bool next(std::string_view& word) {
        skip();
        if (text_.empty()) return false;
        const bool is_quoted = text_.front() == '"';
        const auto end       = text_.find_first_of(is_quoted ? "\"\r\n" : " \t\r\n", is_quoted);
        const auto length    = std::min(end, text_.size());
        word                 = text_.substr(is_quoted, length - is_quoted);
        const bool is_closed = is_quoted && length < text_.size() && text_[length] == '"';
        text_.remove_prefix(length + is_closed);
        return true;
    }

    int line() const { return line_; }

private:
    void skip() {
        for (; !text_.empty(); text_.remove_prefix(1)) {
            const char c = text_.front();
            if (c == '#')  // up to the line's end, which stays
                text_.remove_prefix(std::min(text_.find('\n'), text_.size()) - 1);
            else if (c == '\n')
                ++line_;
            else if (c != ' ' && c != '\t' && c != '\r')
                break;
        }
    }

    std::string_view text_;
    int line_ = 1;
};

// What a text may show on a terminal.
std::string shown(std::string_view text) {
    std::string result(text.substr(0, kLongestDescription));
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = '?';
    return result;
}

class Reader {
public:
    Reader(const std::string& path, std::string_view text) : path_(path), words_(text) {}

    PatchFile read() {
        read_head();
        find_columns();
        read_rows();
        check_inks();
        make_relative();
        return std::move(file_);
    }

private:
    [[noreturn]] void refuse(const std::string& problem) const {
        throw Failure(path_, problem, kRemedy);
    }
    [[noreturn]] void refuse_line(const std::string& problem) const {
        refuse("line " + std::to_string(words_.line()) + " " + problem);
    }

    // Up to the rows of the first table.
    void read_head() {
        std::string_view word;
        while (words_.next(word) && word != "BEGIN_DATA") {
            if (word == "DESCRIPTOR" && words_.next(word)) file_.description = shown(word);
            if (word == "NUMBER_OF_SETS" && words_.next(word))
                announced_ = number(word, 0, kMostPatches);
            if (word != "BEGIN_DATA_FORMAT") continue;
            while (words_.next(word) && word != "END_DATA_FORMAT") {
                if (fields_.size() == kMostFields) refuse_line("has one field too many");
                fields_.emplace_back(word);
            }
        }
        if (word != "BEGIN_DATA" || fields_.empty()) refuse("is not a table of measured patches");
    }

    std::optional<std::size_t> column(const std::string& name) const {
        const auto at = std::find(fields_.begin(), fields_.end(), name);
        if (at == fields_.end()) return std::nullopt;
        return static_cast<std::size_t>(at - fields_.begin());
    }

    // The columns PREFIX_C ... of each letter; empty unless all are there.
    std::vector<std::size_t> columns(const std::string& prefix, const std::string& letters) const {
        std::vector<std::size_t> all;
        for (const char letter : letters)
            if (const auto at = column(prefix + "_" + letter)) all.push_back(*at);
        if (all.size() != letters.size()) all.clear();
        return all;
    }

    void find_columns() {
        for (const char* const space : {"CMYK", "CMY", "RGB"}) {
            device_ = columns(space, space);
            if (device_.empty()) continue;
            file_.inks = ink_names(space);
            is_ink_    = space[0] == 'C';
            break;
        }
        if (device_.empty()) refuse("has no columns of CMYK, CMY or RGB");
        colour_ = columns("LAB", "LAB");
        is_lab_ = !colour_.empty();
        if (!is_lab_) colour_ = columns("XYZ", "XYZ");
        if (colour_.empty()) refuse("has no columns of LAB or XYZ");
    }

    void read_rows() {
        std::vector<std::string_view> row;
        std::string_view word;
        while (words_.next(word) && word != "END_DATA") {
            row.push_back(word);
            if (row.size() < fields_.size()) continue;
            if (file_.patches.size() == kMostPatches) refuse_line("is one patch too many");
            take(row);
            row.clear();
        }
        if (word != "END_DATA") refuse("ends before its data do");
        if (!row.empty()) refuse_line("ends within a patch");
        if (announced_ && *announced_ != static_cast<double>(file_.patches.size()))
            refuse("holds " + std::to_string(file_.patches.size()) +
                   " patches where it announces others");
    }

    double number(std::string_view word, double least, double most) const {
        double value;
        if (!take_number(word, value) || !word.empty() || value < least || value > most)
            refuse_line("holds a value that is none, or out of range");
        return value;
    }

    void take(const std::vector<std::string_view>& row) {
        Patch patch;
        for (const std::size_t at : device_) {
            const double value = number(row[at], 0, kFullScale) / kFullScale;
            patch.device.push_back(is_ink_ ? 1 - value : value);
        }
        for (std::size_t i = 0; i < 3; ++i)
            patch.lab[i] = number(row[colour_[i]], -kLargestLight, kLargestLight);
        file_.patches.push_back(patch);
    }

    void check_inks() const {
        for (std::size_t c = 0; c < file_.inks.size(); ++c)
            if (std::none_of(file_.patches.begin(), file_.patches.end(),
                             [c](const Patch& patch) { return patch.device[c] < 1 - kPaperSlop; }))
                refuse("has no patch with " + file_.inks[c]);
    }

    cmsCIEXYZ light_of(const Colour& c) const {
        if (!is_lab_) return {c[0] / 100, c[1] / 100, c[2] / 100};
        const cmsCIELab lab = {c[0], c[1], c[2]};
        cmsCIEXYZ xyz;
        cmsLab2XYZ(nullptr, &xyz, &lab);
        return xyz;
    }

    void make_relative() {
        cmsCIEXYZ paper = {0, 0, 0};
        int count       = 0;
        for (const Patch& patch : file_.patches) {
            if (std::any_of(patch.device.begin(), patch.device.end(),
                            [](double v) { return v < 1 - kPaperSlop; }))
                continue;
            const cmsCIEXYZ xyz = light_of(patch.lab);
            paper               = {paper.X + xyz.X, paper.Y + xyz.Y, paper.Z + xyz.Z};
            ++count;
        }
        if (count == 0) refuse("has no patch without ink, to which the others are relative");
        if (!(paper.X > 0 && paper.Y > 0 && paper.Z > 0)) refuse("has black paper");
        const cmsCIEXYZ& white = *cmsD50_XYZ();
        for (Patch& patch : file_.patches) {
            const cmsCIEXYZ xyz      = light_of(patch.lab);
            const cmsCIEXYZ relative = {xyz.X / paper.X * white.X * count,
                                        xyz.Y / paper.Y * white.Y * count,
                                        xyz.Z / paper.Z * white.Z * count};
            cmsCIELab lab;
            cmsXYZ2Lab(nullptr, &lab, &relative);
            patch.lab = {lab.L, lab.a, lab.b};
        }
    }

    const std::string& path_;
    Words words_;
    std::vector<std::string> fields_;
    std::vector<std::size_t> device_, colour_;  // columns
    bool is_ink_ = true, is_lab_ = true;
    std::optional<double> announced_;  // number of patches
    PatchFile file_;
};

}  // namespace

std::vector<std::string> ink_names(const std::string& space) {
    if (space == "CMYK") return {"Cyan", "Magenta", "Yellow", "Black"};
    if (space == "CMY" || space == "RGB") return {"Cyan", "Magenta", "Yellow"};
    return {};
}

PatchFile read_patches(const std::string& path) {
    const std::vector<unsigned char> bytes = read_input(path, kLargestFile);
    PatchFile file =
        Reader(path, {reinterpret_cast<const char*>(bytes.data()), bytes.size()}).read();
    file.file = path;
    return file;
}

}  // namespace host
