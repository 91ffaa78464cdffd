#pragma once

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace qov::test {

/// A shared object, open as long as this lives.
class SharedObject {
 public:
    /// Throws std::runtime_error where it cannot be opened.
    explicit SharedObject(const std::string& path)
        : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!handle_) throw std::runtime_error(dlerror());
    }
    ~SharedObject() { dlclose(handle_); }
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

    /// Null where it exports no such symbol; the type is the caller's to know.
    template <class Symbol>
    Symbol* symbol(const char* name) const {
        return reinterpret_cast<Symbol*>(dlsym(handle_, name));
    }

 private:
    void* handle_;
};

}  // namespace qov::test
