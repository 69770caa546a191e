#include "unsharp.h"

#include "deep_samples.h"
#include "failure.h"
#include "point_list.h"

#include "movane/imaging.h"

#include <array>
#include <new>
#include <string_view>

namespace host {
namespace {

constexpr double kMaxStrength = 100;
constexpr std::size_t kRing   = 6;  // the filter looks back at a line while 5 more are fed

int feed(usm_filter* f, unsigned char** in, unsigned char** out) {
    return fusm_b_do(f, in, out, nullptr);
}
int feed(usm_filter* f, unsigned short** in, unsigned short** out) {
    return fusm_do(f, in, out, nullptr);
}

template <class Sample>
class Unsharp final : public Stage {
public:
    Unsharp(const ImageInfo& image, const UnsharpSettings& settings)
        : is_low_(image.height < (settings.radius == 0 ? 3 : 5)) {
        const std::array<int, 3> channels = {0, 1, 2};
        filter_.reset(
            fusm_new(settings.radius, kIsDeep ? kDeepMax : 255, 3, 3, channels.data(), nullptr));
        if (!filter_) throw std::bad_alloc();
        std::array<double, 3> values;
        values.fill(settings.strength);
        fusm_stren_set(filter_.get(), values.data());
        values.fill(settings.noise);
        fusm_noise_red_set(filter_.get(), values.data());
        if (!fusm_start(filter_.get(), image.height, image.width, on_component_done, 3, 1, 3))
            throw std::bad_alloc();
        colours_of(line_).resize(3 * static_cast<std::size_t>(image.width));
        for (std::size_t c = 0; c < 3; ++c) out_[c] = colours_of(line_).data() + c;
    }

    void take(Line& line) override {
        // An image of fewer lines than the filter looks at has nothing to sharpen, and the filter
        // would give some of them twice.
        if (is_low_) {
            hand_on(line);
            return;
        }
        std::vector<Sample>& input = inputs_[fed_ % kRing];
        input                      = colours_of(line);
        alphas_[fed_ % kRing]      = line.alpha;
        ++fed_;
        std::array<Sample*, 3> in{};
        for (std::size_t c = 0; c < 3; ++c) in[c] = input.data() + c;
        running = this;
        feed(filter_.get(), in.data(), out_.data());
        guard_.rethrow();
    }

private:
    struct Kill {
        void operator()(usm_filter* f) const { fusm_kill(f); }
    };
    static constexpr bool kIsDeep = sizeof(Sample) > 1;

    static std::vector<Sample>& colours_of(Line& line) {
        if constexpr (kIsDeep)
            return line.deep;
        else
            return line.rgb;
    }

    static void on_component_done(int component) {
        Unsharp& self = *running;
        if (component == 2) self.guard_.run([&] { self.deliver(); });
    }

    // Later stages may change the line, though not its length: the output stays where it is.
    void deliver() {
        line_.alpha = alphas_[delivered_++ % kRing];
        hand_on(line_);
    }

    // process-wide: the filter's callback carries no pointer of ours.
    static inline Unsharp* running = nullptr;

    const bool is_low_;
    std::unique_ptr<usm_filter, Kill> filter_;
    std::array<std::vector<Sample>, kRing> inputs_;
    std::array<std::vector<unsigned char>, kRing> alphas_;
    Line line_;
    std::array<Sample*, 3> out_{};  // into line_
    std::size_t fed_ = 0, delivered_ = 0;
    CallbackGuard guard_;
};

[[noreturn]] void refuse(const std::string& text) {
    throw UsageError("--sharpen: " + text +
                     " is not STRENGTH[,RADIUS[,NOISE]], a strength of 0 to 100, a radius of 0, 1 "
                     "or 2 and a noise of 0 to 1");
}

}  // namespace

UnsharpSettings parse_unsharp(const std::string& text) {
    std::array<double, 3> numbers{};
    std::string_view rest = text;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (!take_number(rest, numbers[i])) refuse(text);
        if (rest.empty()) break;
        if (!rest.starts_with(',') || i + 1 == numbers.size()) refuse(text);
        rest.remove_prefix(1);
    }
    const auto [strength, radius, noise] = numbers;
    if (!(strength >= 0 && strength <= kMaxStrength) || !(noise >= 0 && noise <= 1) ||
        (radius != 0 && radius != 1 && radius != 2))
        refuse(text);
    return {strength, static_cast<int>(radius), noise};
}

std::unique_ptr<Stage> make_unsharp(const ImageInfo& image, const UnsharpSettings& settings) {
    if (image.is_deep) return std::make_unique<Unsharp<unsigned short>>(image, settings);
    return std::make_unique<Unsharp<unsigned char>>(image, settings);
}

}  // namespace host
