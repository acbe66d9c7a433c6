#pragma once

#include <memory>
#include <type_traits>
#include <utility>

/// Member wrappers that carry the meaning of copying and comparing in the member's type.
/// A class of such members defaults its copy operations and `operator==`:
///
/// | member            | copied              | compared           |
/// |-------------------|---------------------|--------------------|
/// | `T`               | yes                 | yes                |
/// | `KrUncompared<T>` | yes                 | no                 |
/// | `KrScratch<T>`    | no: each has its own| no                 |
/// | `KrCache<T>`      | no: starts empty    | no                 |
/// | `KrOwned<T>`      | by `clone()`        | by `equality()`    |

/// A value that is copied and not compared, such as derived data.
template <class T>
class KrUncompared {
public:
    KrUncompared() = default;
    /// Holds `value`. Implicit, so that a member is initialised like a plain one.
    KrUncompared(T value) : value_(std::move(value)) {}

    /// The value.
    T& operator*() { return value_; }
    T const& operator*() const { return value_; }
    /// A member of the value.
    T* operator->() { return &value_; }
    T const* operator->() const { return &value_; }

    /// Always true.
    bool operator==(KrUncompared const&) const { return true; }

private:
    T value_{};
};

/// A value that belongs to its object alone, such as working state or a back-pointer. A
/// copy starts with `T()`, an assignment keeps the target's value, and a comparison
/// ignores it.
template <class T>
class KrScratch {
public:
    KrScratch() = default;
    /// Holds `T()`. A move does the same and does not throw, so that a vector moves its
    /// items.
    KrScratch(KrScratch const&) noexcept(std::is_nothrow_default_constructible_v<T>) : value_{} {}
    /// Keeps the value.
    KrScratch& operator=(KrScratch const&) noexcept { return *this; }
    ~KrScratch() = default;

    /// The value.
    T& operator*() { return value_; }
    T const& operator*() const { return value_; }
    /// A member of the value.
    T* operator->() { return &value_; }
    T const* operator->() const { return &value_; }

    /// Always true.
    bool operator==(KrScratch const&) const { return true; }

private:
    T value_{};
};

/// Data that is derived from the other members of its object on first use, and empty
/// until then. A copy starts empty, an assignment empties its target, a move empties its source
/// too, and a comparison ignores it.
///
/// `T` may be incomplete where the member is declared. The class then defines its
/// constructors, assignments and destructor where `T` is complete.
template <class T>
class KrCache {
public:
    KrCache() = default;
    /// Starts empty.
    KrCache(KrCache const&) noexcept {}
    /// Starts empty and empties `source`.
    KrCache(KrCache&& source) noexcept { source.clear(); }
    /// Empties this cache.
    KrCache& operator=(KrCache const&) noexcept {
        clear();
        return *this;
    }
    /// Empties this cache and `source`.
    KrCache& operator=(KrCache&& source) noexcept {
        clear();
        source.clear();
        return *this;
    }
    ~KrCache() = default;

    /// Whether there is a value.
    explicit operator bool() const { return value_ != nullptr; }
    /// The value, which must exist.
    T& operator*() const { return *value_; }
    /// A member of the value, which must exist.
    T* operator->() const { return value_.get(); }

    /// Replaces the value, and returns the new one.
    T& set(std::unique_ptr<T> value) {
        value_ = std::move(value);
        return *value_;
    }
    /// Drops the value.
    void clear() { value_.reset(); }
    /// Exchanges the values, as the swap of two objects needs it.
    void swap(KrCache& other) noexcept { value_.swap(other.value_); }

    /// Always true.
    bool operator==(KrCache const&) const { return true; }

private:
    std::unique_ptr<T> value_;
};

/// The sole owner of a polymorphic object, or of none. A copy holds the source object's
/// `clone()`, or null if the clone is not a `T`. Two owners are equal if both are empty or
/// their objects are equal by `equality()`. An assignment clones first: a clone that fails
/// changes nothing.
template <class T>
class KrOwned {
public:
    KrOwned() = default;
    /// Takes ownership of `object`, which may be null.
    explicit KrOwned(T* object) : object_(object) {}
    /// Holds a clone of what `other` owns.
    KrOwned(KrOwned const& other) : object_(cloneOf(other.get())) {}
    KrOwned(KrOwned&&) noexcept = default;
    /// Replaces the present object by a clone of what `other` owns.
    KrOwned& operator=(KrOwned const& other) {
        if (this != &other) {
            object_.reset(cloneOf(other.get()));
        }
        return *this;
    }
    KrOwned& operator=(KrOwned&&) noexcept = default;
    ~KrOwned() = default;

    /// The object, null if there is none. The owner keeps it.
    T* get() const { return object_.get(); }
    /// A member of the object, which must exist.
    T* operator->() const { return object_.get(); }
    /// The object, which must exist.
    T& operator*() const { return *object_; }
    /// Whether there is an object.
    explicit operator bool() const { return object_ != nullptr; }

    /// Deletes the present object and takes ownership of `object`.
    void reset(T* object = nullptr) { object_.reset(object); }

    /// Whether both own nothing, or equal objects.
    bool operator==(KrOwned const& other) const {
        if (!object_ || !other.object_) {
            return !object_ && !other.object_;
        }
        return object_->equality(other.get());
    }

    /// A clone of `source` as a `T`. Null for null, and for a clone that is not a `T`,
    /// which is deleted.
    static T* cloneOf(T const* source) { return source ? castOrDelete(source->clone()) : nullptr; }

    /// `candidate` as a `T`; an object of another class is deleted.
    template <class Object>
    static T* castOrDelete(Object* candidate) {
        T* const element = dynamic_cast<T*>(candidate);
        if (!element) {
            delete candidate;
        }
        return element;
    }

private:
    std::unique_ptr<T> object_;
};
