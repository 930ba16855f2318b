#pragma once

#include <string>

// Gives this process, and what it starts, a "/data" of its own: the given directory, in a private
// mount namespace (and, where the process may not make one itself, a user namespace in which it
// keeps its ids). Everything else stays where it was; nothing on the real system changes, and all
// of it is gone with the process.
//
// The directory is made when its last component is missing, and "system" in it, as phones have it.
// The process must have one thread. Returns what went wrong, or an empty text; after an error
// behind the first step the process may be left in a namespace without the new "/data".
std::string enterPrivateRoot(const std::string& directory);

// Why enterPrivateRoot() cannot work here, as when a container forbids namespaces; empty when it
// can. Tries it out in a child process.
std::string privateRootRefusal();
