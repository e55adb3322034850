#include <zeb/foundation/StringBuffer.hpp>

#include <algorithm>
#include <utility>

namespace zeb::foundation {

StringBuffer::~StringBuffer() {
    if (block_ != nullptr) {
        String::release(block_);
    }
}

void StringBuffer::grow(std::size_t count) {
    std::size_t const needed = detail::blockSize(length_, count, 1);
    std::size_t const capacity = block_ == nullptr ? std::max(initialCapacity_, needed)
                                                   : detail::grownCapacity(capacity_, needed);
    block_ = String::resize(block_, capacity);
    text_ = block_->text();
    capacity_ = capacity;
}

String StringBuffer::releaseString() {
    String result;
    if (length_ == 0) {
        return result;
    }
    // Freeing little room, such as a buffer's initial room or an eighth, costs more than keeping
    // it.
    std::size_t const waste = capacity_ - length_;
    if (waste > INITIAL_CAPACITY && waste > length_ / 8) {
        block_ = String::resize(block_, length_);
        text_ = block_->text();
        capacity_ = length_;
    }
    text_[length_] = '\0';
    block_->length = length_;
    result.block_ = std::exchange(block_, nullptr);
    text_ = nullptr;
    length_ = 0;
    capacity_ = 0;
    return result;
}

}  // namespace zeb::foundation
