#include "nubo/read/connection.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <utility>

namespace nubo::read {
namespace {

using reader::HelperSocket;
using reader::Message;

/// The descriptor that the program answers with; -1: none.
int receiveDescriptor() {
  char byte = 0;
  iovec part{&byte, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))]{};
  msghdr header{};
  header.msg_iov = &part;
  header.msg_iovlen = 1;
  header.msg_control = control;
  header.msg_controllen = sizeof control;
  ssize_t size = 0;
  do size = recvmsg(HelperSocket, &header, MSG_CMSG_CLOEXEC);
  while (size < 0 && errno == EINTR);
  if (size <= 0) _exit(1);
  const cmsghdr* attached = CMSG_FIRSTHDR(&header);
  int descriptor = -1;
  if (attached && attached->cmsg_type == SCM_RIGHTS) std::memcpy(&descriptor, CMSG_DATA(attached), sizeof descriptor);
  return descriptor;
}

}  // namespace

void Connection::send(Message::Kind kind, std::uint64_t value, const std::string& text) {
  Message message;
  message.kind = kind;
  message.value = value;
  iovec parts[]{{&message, sizeof message},
                {const_cast<char*>(text.data()), std::min(text.size(), reader::LongestText)}};
  msghdr header{};
  header.msg_iov = parts;
  header.msg_iovlen = 2;
  ssize_t size = 0;
  do size = sendmsg(HelperSocket, &header, MSG_NOSIGNAL);
  while (size < 0 && errno == EINTR);
  if (size < 0) _exit(1);
}

/// A reader may tell of each of many thousand meshes, and each message wakes the program.
void Connection::progress(double fraction) {
  constexpr std::chrono::milliseconds Often(5);
  const auto now = std::chrono::steady_clock::now();
  if (now - m_LastProgress < Often) return;
  m_LastProgress = now;
  constexpr std::uint64_t Unknown = 1001;
  send(Message::Progress, fraction >= 0 && fraction <= 1 ? std::uint64_t(fraction * 1000) : Unknown);
}

void Connection::warning(const std::string& text) { send(Message::Warning, 0, text); }

std::string Connection::option(const std::string& name) const {
  const auto found = m_Options.find(name);
  return found == m_Options.end() ? std::string() : found->second;
}

void Connection::setOption(const std::string& word) {
  const std::size_t end = word.find('=');
  if (end != std::string::npos) m_Options[word.substr(0, end)] = word.substr(end + 1);
}

void Connection::unprotected(const std::string& text) { send(Message::Unprotected, 0, text); }

void Connection::refuse(const std::string& text) { send(Message::Refused, 0, text); }

Connection::Block Connection::addBlock(std::size_t size) {
  send(Message::Block, size);
  const int descriptor = receiveDescriptor();
  if (descriptor < 0) throw std::bad_alloc();
  void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
  close(descriptor);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  m_Blocks.push_back({static_cast<char*>(memory), size});
  return m_Blocks.back();
}

void* Connection::allocate(std::size_t bytes) {
  constexpr std::size_t Alignment = 16, Page = 4096;
  if (bytes > std::size_t(-1) / 2) throw std::bad_alloc();
  // Long arrays have blocks of their own, so that the program can let go of each when it is done with it. There can
  // be only so many, which is why what counts as long grows with their number.
  const std::size_t poolSize = std::size_t(4 << 20) << m_Blocks.size() / 64;
  if (bytes >= poolSize / 2) return addBlock((bytes + Page - 1) / Page * Page).memory;
  bytes = (bytes + Alignment - 1) / Alignment * Alignment;
  if (bytes > m_PoolLeft) {
    mp_Pool = addBlock(poolSize).memory;
    m_PoolLeft = poolSize;
  }
  m_PoolLeft -= bytes;
  return std::exchange(mp_Pool, mp_Pool + bytes);
}

void Connection::finish() {
  const auto find = [this](const void* address) {
    for (std::uint32_t i = 0; i < m_Blocks.size(); ++i)
      if (address >= m_Blocks[i].memory && address < m_Blocks[i].memory + m_Blocks[i].size)
        return reader::Place{i, std::uint64_t(static_cast<const char*>(address) - m_Blocks[i].memory)};
    throw std::logic_error("an array of the reader lies in memory of its own");
  };
  reader::RecordWriter<decltype(find)> record(find);
  record(model);
  const std::string& bytes = record.bytes();
  std::memcpy(addBlock(bytes.size()).memory, bytes.data(), bytes.size());
  send(Message::Done, bytes.size());
}

}  // namespace nubo::read
