#pragma once

#include <travesty/base.h>

#include <atomic>
#include <cstdint>
#include <type_traits>
#include <utility>

/// The binary interface of VST3 in C++: objects of ours that a host refers to, and objects of the
/// host that we refer to. An interface is a pointer to a pointer to a table of functions, each of
/// which gets the interface as its first argument.
namespace qov::hosts::vst3 {

/// A reference-counted object with several interfaces, which share the count.
class Unknown {
 public:
    virtual ~Unknown() = default;
    Unknown(const Unknown&) = delete;
    Unknown& operator=(const Unknown&) = delete;

    // Any thread.
    std::uint32_t ref() noexcept { return ++count_; }
    std::uint32_t unref() noexcept {
        const auto left = --count_;
        if (left == 0) unheld();
        return left;
    }
    v3_result query(const std::uint8_t* id, void** result) noexcept {
        if (!result) return V3_INVALID_ARG;
        *result = id ? find(id) : nullptr;
        if (!*result) return V3_NO_INTERFACE;
        ref();
        return V3_OK;
    }

 protected:
    /// With one reference, its maker's.
    Unknown() = default;
    /// The interface of that id, null if there is none; that of v3_funknown_iid is always the same.
    virtual void* find(const std::uint8_t* id) noexcept = 0;
    virtual void unheld() noexcept {
        ref();  // calls of the destructor may add and release a reference
        delete this;
    }

 private:
    std::atomic<std::uint32_t> count_{1};
};

/// One interface of an object: a host gets its address.
struct Face {
    const void* table;  // of functions; first, as the format demands
    Unknown* object;    // has the reference count and the other interfaces
    void* part;         // the object of the table's other functions
};

/// The interface of a face.
template <class Interface>
Interface** as(Face& face) {
    return reinterpret_cast<Interface**>(&face);
}

namespace detail {

inline const Face& faceOf(void* self) {
    return *static_cast<const Face*>(self);
}

template <class Function>
struct CallOf;
template <class Part, class Result, class... Arguments>
struct CallOf<Result (Part::*)(Arguments...)> {
    template <auto method>
    static Result V3_API call(void* self, Arguments... arguments) noexcept {
        auto& part = *static_cast<Part*>(faceOf(self).part);
#if defined(__cpp_exceptions)  // the entry is compiled without
        try {
            return (part.*method)(arguments...);
        } catch (...) {  // no exception may cross into a host
            if constexpr (std::is_same_v<Result, v3_result>)
                return V3_INTERNAL_ERR;
            else
                return Result();
        }
#else
        return (part.*method)(arguments...);
#endif
    }
};
template <class Result, class... Arguments>
struct CallOf<Result (*)(Arguments...)> {
    template <auto function>
    static Result V3_API call(void*, Arguments... arguments) noexcept {
        return function(arguments...);
    }
};

}  // namespace detail

/// An entry of any form that does nothing but return a value.
template <auto value>
struct Returns {
    template <class Result, class... Arguments>
    using Function = Result(V3_API*)(void* self, Arguments...);
    template <class Result, class... Arguments>
    constexpr operator Function<Result, Arguments...>() const {
        return [](void*, Arguments...) -> Result { return static_cast<Result>(value); };
    }
};
template <auto value>
inline constexpr Returns<value> returns;

/// A member function of the face's part, or a function that needs no object, as an entry.
template <auto function>
inline constexpr auto entry = &detail::CallOf<decltype(function)>::template call<function>;

/// The first entries of every table.
inline constexpr v3_funknown unknownEntries{
    .query_interface = [](void* self, const std::uint8_t* id, void** result) -> v3_result {
        return detail::faceOf(self).object->query(id, result);
    },
    .ref = [](void* self) -> std::uint32_t { return detail::faceOf(self).object->ref(); },
    .unref = [](void* self) -> std::uint32_t { return detail::faceOf(self).object->unref(); },
};

/// A reference to an object of the host's.
template <class Interface>
class Held {
 public:
    Held() = default;
    explicit Held(Interface** object) : object_(object) {
        if (object_) v3_cpp_obj_ref(object_);
    }
    /// Another interface of an object; empty if it lacks that.
    template <class Other>
    static Held of(Other** object, const v3_tuid id) {
        Held held;
        if (object && v3_cpp_obj_query_interface(object, id, &held.object_) != V3_OK)
            held.object_ = nullptr;
        return held;
    }
    Held(const Held& other) : Held(other.object_) {}
    Held(Held&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Held& operator=(Held other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Held() {
        if (object_) v3_cpp_obj_unref(object_);
    }

    explicit operator bool() const { return object_ != nullptr; }
    Interface** get() const { return object_; }
    /// Calls one of its functions: held(&v3_run_loop::register_timer, handler, 20).
    template <class Function, class... Arguments>
    auto operator()(Function Interface::*function, Arguments... arguments) const {
        return (v3_cpp_obj(object_)->*function)(object_, arguments...);
    }

 private:
    Interface** object_ = nullptr;
};

}  // namespace qov::hosts::vst3
