#pragma once

#include <functional>

namespace ORVANE {

// The library's own threads that belong to an object the process never
// destroys (the one central object and its logic) must still not run while
// the statics they use are destroyed. Such a thread registers how to stop
// it; the process stops every one still registered when it exits, before
// the statics that stood before the first registration go. An object that
// stops its thread itself removes it first.
namespace threadsAtExit {
void add(const void* owner, std::function<void()> stop);
void remove(const void* owner);
}  // namespace threadsAtExit

}  // namespace ORVANE
