// The platform's reference counting: android::RefBase and the strong pointer android::sp. Weak
// references are not needed by anybody here and do not exist.
#ifndef ANDROID_REF_BASE_H
#define ANDROID_REF_BASE_H

#include <atomic>
#include <cstdint>
#include <utility>

namespace android {

// The decStrong that takes the count to 0 destroys the object, on its caller's thread.
class __attribute__((visibility("default"))) RefBase {
  public:
    void incStrong(const void* id) const;
    void decStrong(const void* id) const;
    int32_t getStrongCount() const;

  protected:
    RefBase();
    virtual ~RefBase();
    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

    virtual void onFirstRef();
    virtual void onLastStrongRef(const void* id);
    virtual bool onIncStrongAttempted(uint32_t flags, const void* id);
    virtual void onLastWeakRef(const void* id);

  private:
    mutable std::atomic<int32_t> mStrong;
    mutable std::atomic<bool> mReferenced;
};

template <typename T>
class sp {
  public:
    sp() = default;
    sp(T* object) : mObject(object) {  // NOLINT(google-explicit-constructor): as the platform's
        if (mObject != nullptr) {
            mObject->incStrong(this);
        }
    }
    sp(const sp& other) : sp(other.mObject) {}
    sp(sp&& other) noexcept : mObject(std::exchange(other.mObject, nullptr)) {}
    ~sp() { clear(); }

    sp& operator=(const sp& other) {
        sp copy(other);
        std::swap(mObject, copy.mObject);
        return *this;
    }
    sp& operator=(sp&& other) noexcept {
        std::swap(mObject, other.mObject);
        return *this;
    }

    T* get() const { return mObject; }
    T* operator->() const { return mObject; }
    T& operator*() const { return *mObject; }

    void clear() {
        T* object = std::exchange(mObject, nullptr);
        if (object != nullptr) {
            object->decStrong(this);
        }
    }

  private:
    T* mObject = nullptr;
};

}  // namespace android

#endif  // ANDROID_REF_BASE_H
