#pragma once

namespace qov::hosts {

/// The function of that name in the body, the shared object beside the entry that this is linked
/// into. The first call loads the body, which then stays for as long as the process: the libraries
/// under the editor do not outlive being unloaded. Null, with one line on standard error, where
/// the body is missing or is of another version. Any thread.
void* bodyFunction(const char* name);

/// The same as a pointer to a function of that type, which the caller has to know.
template <class Function>
Function* bodyFunction(const char* name) {
    return reinterpret_cast<Function*>(bodyFunction(name));
}

}  // namespace qov::hosts
