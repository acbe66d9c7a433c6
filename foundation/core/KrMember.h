#pragma once

#include <memory>
#include <type_traits>
#include <utility>

/// Member wrappers that carry the meaning of copying and comparing in the
/// member's type, so that a class which uses them can leave its copy
/// operations and `operator==` to the compiler:
///
/// | member            | copied              | compared           |
/// |-------------------|---------------------|--------------------|
/// | `T`               | yes                 | yes                |
/// | `KrUncompared<T>` | yes                 | no                 |
/// | `KrScratch<T>`    | no: each has its own| no                 |
/// | `KrCache<T>`      | no: starts empty    | no                 |
/// | `KrOwned<T>`      | by `clone()`        | by `equality()`    |

/// A value that is copied but takes no part in equality, such as derived data.
template <class T>
class KrUncompared {
public:
    KrUncompared() = default;
    /// Holds `value`, so that a member is initialised like a plain one.
    KrUncompared(T value) : value_(std::move(value)) {}

    /// The value itself; nothing is checked.
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

/// A value that belongs to its object alone: a copy starts with `T()`, an
/// assignment leaves the target's value as it was, and it is not compared.
/// For working state, caches, and back-pointers.
template <class T>
class KrScratch {
public:
    KrScratch() = default;
    /// Holds `T()`. Also where a move is asked for, and then no reason for a vector
    /// to copy.
    KrScratch(KrScratch const&) noexcept(std::is_nothrow_default_constructible_v<T>) : value_{} {}
    /// Leaves the value as it is.
    KrScratch& operator=(KrScratch const&) noexcept { return *this; }
    ~KrScratch() = default;

    /// The value itself; nothing is checked.
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

/// What is derived from the other members of its object when it is first needed, and
/// empty until then. A copy starts empty, an assignment empties its target, and it is
/// not compared.
///
/// `T` may be incomplete where the member is declared. The class then defines its
/// constructors, assignments and destructor where `T` is complete.
template <class T>
class KrCache {
public:
    KrCache() = default;
    /// Starts empty.
    KrCache(KrCache const&) noexcept {}
    /// Empties this cache.
    KrCache& operator=(KrCache const&) noexcept {
        clear();
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
    /// Exchanges the values, for an object that changes places with another.
    void swap(KrCache& other) noexcept { value_.swap(other.value_); }

    /// Always true.
    bool operator==(KrCache const&) const { return true; }

private:
    std::unique_ptr<T> value_;
};

/// The sole owner of a polymorphic object, null when there is none. A copy
/// holds the source object's `clone()` (null when the clone is not a `T`); two
/// owners are equal when both are empty or their objects are equal by
/// `equality()`. Copying assigns only after the clone was made, so a failed
/// clone changes nothing.
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

    /// The object, null when there is none; still owned.
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

    /// A clone of `source` as a `T`: null for null, and for a clone that is no
    /// `T`, which is discarded.
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
