// A file that is there completely or not at all.
#pragma once

#include <string>

namespace host {

/// Gives a temporary name beside the target to write to; commit() renames it to the target. A
/// file that is not committed disappears with this object, or with the process on Ctrl-C.
class AtomicOutput {
public:
    /// Creates the temporary file. A target that is a link is followed; one that is neither a
    /// file nor missing is refused.
    explicit AtomicOutput(const std::string& target);
    ~AtomicOutput();
    AtomicOutput(const AtomicOutput&)            = delete;
    AtomicOutput& operator=(const AtomicOutput&) = delete;

    const std::string& target() const { return target_; }
    const std::string& temporary() const { return temporary_; }

    /// Writes the whole content in one go.
    void write(const std::string& bytes) const;

    void commit();

private:
    std::string target_;
    std::string temporary_;  // "" once committed
};

/// Throws UsageError when the output is the input or another name of it.
void refuse_overwriting(const std::string& output, const std::string& input);

}  // namespace host
