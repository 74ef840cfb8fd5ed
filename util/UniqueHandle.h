#pragma once

#include <utility>

/// Sole owner of one handle of a C library. `Traits` names the type `Handle`, the value `Invalid()` that stands for
/// none, and `Close(handle)`, which runs once for every valid handle and must not throw:
///
///     struct IconvTraits {
///       using Handle = iconv_t;
///       static Handle Invalid() { return reinterpret_cast<Handle>(-1); }
///       static void Close(Handle converter) { iconv_close(converter); }
///     };
///     using ScopedIconv = UniqueHandle<IconvTraits>;
template <typename Traits>
class UniqueHandle {
 public:
  using Handle = typename Traits::Handle;

  UniqueHandle() = default;
  /// Takes ownership of `handle`, which may be invalid.
  explicit UniqueHandle(Handle handle) : m_handle(handle) {}
  UniqueHandle(UniqueHandle&& other) noexcept : m_handle(other.Release()) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  ~UniqueHandle() { Reset(); }

  /// Returns the handle, which stays owned here.
  Handle Get() const { return m_handle; }
  /// Returns whether there is a handle.
  explicit operator bool() const { return m_handle != Traits::Invalid(); }

  /// Returns the handle and gives it up; the caller owns it.
  [[nodiscard]] Handle Release() { return std::exchange(m_handle, Traits::Invalid()); }

  /// Takes ownership of `handle` and closes the one held before.
  void Reset(Handle handle = Traits::Invalid()) {
    const Handle previous = std::exchange(m_handle, handle);
    if (previous != Traits::Invalid()) Traits::Close(previous);
  }

 private:
  Handle m_handle = Traits::Invalid();
};
