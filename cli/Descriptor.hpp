#pragma once

#include <unistd.h>

#include <utility>

namespace zeb::cli {

/// Closes a file.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    ~Descriptor() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }

    [[nodiscard]] int get() const noexcept { return descriptor_; }
    [[nodiscard]] bool isOpen() const noexcept { return descriptor_ >= 0; }

private:
    int descriptor_ = -1;
};

}  // namespace zeb::cli
