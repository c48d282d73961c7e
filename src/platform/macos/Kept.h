#pragma once

#import <Foundation/Foundation.h>
#include <utility>

namespace quorvel {

/// Owns one reference to an Objective-C object; the adapters are compiled without ARC.
template <typename Object>
class Kept {
public:
    Kept() = default;
    /// Takes over the reference that `alloc` or `copy` made.
    explicit Kept(Object* made) : object(made) {}
    static Kept retaining(Object* some) { return Kept([some retain]); }
    Kept(const Kept& other) : object([other.object retain]) {}
    Kept(Kept&& other) noexcept : object(std::exchange(other.object, nil)) {}
    Kept& operator=(Kept other) noexcept {
        std::swap(object, other.object);
        return *this;
    }
    ~Kept() { [object release]; }

    Object* get() const { return object; }

private:
    Object* object = nil;
};

/// Releases at its end what was autoreleased since its start.
class Pool {
public:
    Pool() : pool([[NSAutoreleasePool alloc] init]) {}
    ~Pool() { [pool drain]; }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;

private:
    NSAutoreleasePool* pool;
};

}  // namespace quorvel
