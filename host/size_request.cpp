#include "size_request.h"

#include "failure.h"
#include "image_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>

namespace host {
namespace {

constexpr double kLargestPercent = 100.0 * kMaxSide;

[[noreturn]] void refuse(const std::string& text, const char* why) {
    throw UsageError("--size: " + text + " " + why);
}

template <class Number>
bool take(std::string_view& text, Number& number) {
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec != std::errc()) return false;
    text.remove_prefix(static_cast<std::size_t>(parsed.ptr - text.data()));
    return true;
}

// side * to / from to the nearest pixel, half a pixel upwards.
int in_proportion(int side, int to, int from) {
    const std::int64_t doubled = 2 * std::int64_t{side} * to + from;
    return static_cast<int>(std::max<std::int64_t>(doubled / (2 * std::int64_t{from}), 1));
}

}  // namespace

SizeRequest parse_size(const std::string& text) {
    SizeRequest request;
    std::string_view rest = text;
    if (text.ends_with('%')) {
        if (!take(rest, request.percent) || rest != "%")
            refuse(text, "is not a number of percent, such as 50%");
        if (!(request.percent > 0 && request.percent <= kLargestPercent))
            refuse(text, "is not above 0 % or too large");
        return request;
    }
    bool is_read = take(rest, request.box.width) && rest.starts_with('x');
    if (is_read) rest.remove_prefix(1);
    is_read      = is_read && take(rest, request.box.height) && (rest.empty() || rest == "!");
    request.kind = rest.empty() ? SizeRequest::Kind::box : SizeRequest::Kind::exact;
    if (!is_read) refuse(text, "is neither WIDTHxHEIGHT, WIDTHxHEIGHT! nor PERCENT%");
    const auto [smaller, larger] = std::minmax(request.box.width, request.box.height);
    if (smaller < 1 || larger > kMaxSide) refuse(text, "is not 1 to 1000000 pixels each way");
    return request;
}

Measures resized(const Measures& from, const SizeRequest& request, const std::string& name) {
    const Measures& box = request.box;
    if (request.kind == SizeRequest::Kind::exact) return box;
    if (request.kind == SizeRequest::Kind::box) {
        const bool is_wider =
            std::int64_t{from.width} * box.height >= std::int64_t{box.width} * from.height;
        if (is_wider) return {box.width, in_proportion(from.height, box.width, from.width)};
        return {in_proportion(from.width, box.height, from.height), box.height};
    }
    const auto scaled = [&](int side) {
        const double pixels = std::floor(side * request.percent / 100 + 0.5);
        if (pixels > kMaxSide)
            throw Failure(name, "would become more than 1000000 pixels long",
                          "choose a smaller --size");
        return std::max(static_cast<int>(pixels), 1);
    };
    return {scaled(from.width), scaled(from.height)};
}

}  // namespace host
