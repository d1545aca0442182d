#include "runtime/buffers.h"

#include <mutex>
#include <unordered_map>

namespace talvero {

namespace {

struct Table {
  std::mutex lock;
  std::unordered_map<int64_t, Bytes> map;
  int64_t nextId = 0;
};

// Never destroyed: network threads may store bodies while the process exits.
Table& table() {
  static auto* instance = new Table();
  return *instance;
}

}  // namespace

int64_t Buffers::putBuffer(Bytes bytes) {
  Table& buffers = table();
  std::lock_guard guard(buffers.lock);
  const int64_t id = buffers.nextId++;
  buffers.map.emplace(id, bytes ? std::move(bytes) : makeBytes({}));
  return id;
}

Bytes Buffers::get(int64_t id) {
  Table& buffers = table();
  std::lock_guard guard(buffers.lock);
  auto found = buffers.map.find(id);
  return found == buffers.map.end() ? nullptr : found->second;
}

bool Buffers::dispose(int64_t id) {
  Bytes released;  // dropped outside the lock
  Table& buffers = table();
  std::lock_guard guard(buffers.lock);
  auto found = buffers.map.find(id);
  if (found == buffers.map.end()) return false;
  released = std::move(found->second);
  buffers.map.erase(found);
  return true;
}

}  // namespace talvero
