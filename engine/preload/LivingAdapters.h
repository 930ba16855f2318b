#pragma once

#include <functional>

class ZmlAdapter;

// The adapters that exist. A training may end after its adapter has gone, and all that its callback
// has is the adapter's address: here it learns whether that is still one. Any thread may call.
//
// Of two adapters that had one address after the other, the second is meant; it takes the callback
// for its own if it trains as well.
namespace living_adapters {

void add(const ZmlAdapter* adapter);

// Waits while somebody visits an adapter; none visits this one afterwards.
void remove(const ZmlAdapter* adapter);

// Runs `work`, during which the adapter is not removed. False when there is none at that address.
// `work` may take the adapter's lock, and so the caller must hold none.
bool visit(const ZmlAdapter* adapter, const std::function<void()>& work);

}  // namespace living_adapters
