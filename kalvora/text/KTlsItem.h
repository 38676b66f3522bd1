// KTlsItem: one slot of thread-specific storage.
#ifndef KALVORA_TEXT_KTLSITEM_H
#define KALVORA_TEXT_KTLSITEM_H

#include <atomic>

#include <pthread.h>

/// A thread-specific slot that holds a T* and destroys it when its thread ends.
///
/// An item is a static object that is initialised at compile time and never destroyed, so that it
/// can be asked at any moment: its key is made by whoever comes first, the KTlsOwner that stands
/// beside it or a thread that needs the slot in another initialiser. Once the owner is gone the
/// slot is empty for good. Any thread may call any member.
template <typename T>
class KTlsItem {
 public:
  /// `destroyValue` gets a thread's T* when the thread ends or the library is unloaded.
  constexpr explicit KTlsItem(void (*destroyValue)(void*)) : destroy_(destroyValue) {}
  KTlsItem(const KTlsItem&) = delete;
  KTlsItem& operator=(const KTlsItem&) = delete;

  /// The calling thread's value; null when it has none.
  T* Get() { return Ready() ? static_cast<T*>(pthread_getspecific(key_)) : nullptr; }
  /// Stores the calling thread's value. False when there is no slot to store it in.
  bool Set(T* value) { return Ready() && pthread_setspecific(key_, value) == 0; }

  /// Makes the key, once; false when that failed or the item was deleted.
  bool Ready() {
    if (state_.load(std::memory_order_acquire) == kNew) Create();
    return state_.load(std::memory_order_acquire) == kReady;
  }
  /// Destroys the calling thread's value and deletes the key. Values of other threads are lost.
  void Delete() {
    if (T* value = Get()) {
      Set(nullptr);
      destroy_(value);
    }
    if (state_.exchange(kDeleted) == kReady) pthread_key_delete(key_);
  }

 private:
  enum State { kNew, kReady, kDeleted };

  void Create() {
    pthread_mutex_lock(&mutex_);
    if (state_.load(std::memory_order_relaxed) == kNew) {
      const bool made = pthread_key_create(&key_, destroy_) == 0;
      state_.store(made ? kReady : kDeleted, std::memory_order_release);
    }
    pthread_mutex_unlock(&mutex_);
  }

  pthread_key_t key_ = 0;
  void (*destroy_)(void*);
  std::atomic<State> state_{kNew};
  pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
};

/// Makes an item's key when the library is loaded and deletes it when the library goes.
template <typename T>
class KTlsOwner {
 public:
  explicit KTlsOwner(KTlsItem<T>& owned) : item_(owned) { item_.Ready(); }
  ~KTlsOwner() { item_.Delete(); }
  KTlsOwner(const KTlsOwner&) = delete;
  KTlsOwner& operator=(const KTlsOwner&) = delete;

 private:
  KTlsItem<T>& item_;
};

#endif
