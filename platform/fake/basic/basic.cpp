// The fake of the middleware's basic services. Numbers ascend and are never issued again.

#include <fake/basic_faults.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>

#include "mw/basic_services.h"

namespace {

constexpr int32_t kFailed = -1;

// Returns the code with which the call must fail, or 0.
fake_service_hook_fct gFault = [](fake_service_t) -> int32_t { return 0; };

// Numbered objects, for use by any thread.
template <typename Object>
class Table {
  public:
    uint32_t add(const Object& object) {
        const std::lock_guard<std::mutex> lock(mLock);
        mObjects.emplace(mNext, object);
        return mNext++;
    }

    bool find(uint32_t number, Object* object, bool takes = false) {
        const std::lock_guard<std::mutex> lock(mLock);
        const auto entry = mObjects.find(number);
        if (entry == mObjects.end()) {
            return false;
        }
        *object = entry->second;
        if (takes) {
            mObjects.erase(entry);
        }
        return true;
    }

    // If several threads take the same object, only one succeeds.
    bool take(uint32_t number, Object* object) { return find(number, object, true); }

    unsigned size() {
        const std::lock_guard<std::mutex> lock(mLock);
        return static_cast<unsigned>(mObjects.size());
    }

  private:
    std::mutex mLock;
    std::map<uint32_t, Object> mObjects;
    uint32_t mNext = 0x10001;  // so a handle looks like no handle type, and is not 0
};

struct Handle {
    uint16_t type;
    void* object;
    void* tag;
    handle_free_fct free;
};

struct Semaphore {
    std::mutex lock;
    std::condition_variable changed;
    bool taken;
    bool deleted = false;
};
using SemaphorePointer = std::shared_ptr<Semaphore>;

// Never destroyed: threads may still call at the end of the process.
Table<Handle>& gHandles = *new Table<Handle>();
Table<SemaphorePointer>& gSemaphores = *new Table<SemaphorePointer>();

std::atomic<unsigned> gLiveBlocks;
std::atomic<unsigned> gBadFrees;

int32_t lookUp(fake_service_t service, uint32_t handle, Handle* entry) {
    const int32_t code = gFault(service);
    return code == FAKE_ANSWER_EMPTY                    ? 0
           : code == 0 && !gHandles.find(handle, entry) ? kFailed
                                                        : code;
}

}  // namespace

extern "C" {

void fake_set_service_hook(fake_service_hook_fct hook) {
    gFault = hook;
}

unsigned fake_live_handles(void) {
    return gHandles.size();
}
unsigned fake_live_semaphores(void) {
    return gSemaphores.size();
}
unsigned fake_live_blocks(void) {
    return gLiveBlocks;
}
unsigned fake_bad_frees(void) {
    return gBadFrees;
}

int32_t handle_alloc(uint16_t e_type, void* pv_obj, void* pv_tag, handle_free_fct pf_free,
                     uint32_t* ph_obj) {
    const int32_t code = gFault(FAKE_HANDLE_ALLOC);
    if (code != 0 || ph_obj == nullptr) {
        return code != 0 ? code : kFailed;
    }
    *ph_obj = gHandles.add({e_type, pv_obj, pv_tag, pf_free});
    return 0;
}

int32_t handle_get_type_obj(uint32_t handle, uint16_t* pe_type, void** ppv_obj) {
    Handle entry = {};
    const int32_t code = lookUp(FAKE_HANDLE_GET_TYPE_OBJ, handle, &entry);
    if (code == 0 && pe_type != nullptr) {
        *pe_type = entry.type;
    }
    if (code == 0 && ppv_obj != nullptr) {
        *ppv_obj = entry.object;
    }
    return code;
}

int32_t handle_get_obj(uint32_t handle, void** ppv_obj) {
    Handle entry = {};
    const int32_t code = lookUp(FAKE_HANDLE_GET_OBJ, handle, &entry);
    if (code != 0 || ppv_obj == nullptr) {
        return code != 0 ? code : kFailed;
    }
    *ppv_obj = entry.object;
    return 0;
}

// The handle is gone before its callback runs. No lock is held while the callback runs.
int32_t handle_free(uint32_t handle, uint8_t ui1_flag) {
    const int32_t code = gFault(FAKE_HANDLE_FREE);
    Handle entry;
    if (!gHandles.take(handle, &entry)) {
        ++gBadFrees;
        return kFailed;
    }
    if (entry.free != nullptr &&
        entry.free(handle, entry.type, entry.object, entry.tag, ui1_flag) != 1) {
        ++gBadFrees;
    }
    return code;
}

int32_t x_sema_create(uint32_t* ph_sema, uint32_t e_type, uint32_t ui4_initial) {
    const int32_t code = gFault(FAKE_SEMA_CREATE);
    if (code != 0 || ph_sema == nullptr || e_type != X_SEMA_TYPE_BINARY_HELD || ui4_initial > 1) {
        return code != 0 ? code : kFailed;
    }
    const SemaphorePointer semaphore = std::make_shared<Semaphore>();
    semaphore->taken = ui4_initial == 0;
    *ph_sema = gSemaphores.add(semaphore);
    return 0;
}

int32_t x_sema_lock(uint32_t h_sema, uint32_t ui4_option) {
    const int32_t code = gFault(FAKE_SEMA_LOCK);
    SemaphorePointer semaphore;
    if (code != 0 || ui4_option != X_SEMA_OPTION_WAIT || !gSemaphores.find(h_sema, &semaphore)) {
        return code != 0 ? code : kFailed;
    }
    std::unique_lock<std::mutex> lock(semaphore->lock);
    semaphore->changed.wait(lock, [&] { return !semaphore->taken || semaphore->deleted; });
    if (semaphore->deleted) {
        return kFailed;
    }
    semaphore->taken = true;
    return 0;
}

int32_t x_sema_unlock(uint32_t h_sema) {
    const int32_t code = gFault(FAKE_SEMA_UNLOCK);
    SemaphorePointer semaphore;
    if (!gSemaphores.find(h_sema, &semaphore)) {
        return kFailed;
    }
    const std::lock_guard<std::mutex> lock(semaphore->lock);
    if (!semaphore->taken) {
        ++gBadFrees;
    }
    if (!semaphore->taken || code == FAKE_KEEP_TAKEN) {
        return kFailed;
    }
    semaphore->taken = false;
    semaphore->changed.notify_one();
    return code;
}

int32_t x_sema_delete(uint32_t h_sema) {
    const int32_t code = gFault(FAKE_SEMA_DELETE);
    SemaphorePointer semaphore;
    if (!gSemaphores.take(h_sema, &semaphore)) {
        return kFailed;
    }
    const std::lock_guard<std::mutex> lock(semaphore->lock);
    semaphore->deleted = true;
    semaphore->changed.notify_all();
    return code;
}

void* x_mem_alloc(size_t z_size) {
    void* block = gFault(FAKE_MEM_ALLOC) == 0 ? malloc(z_size) : nullptr;
    if (block != nullptr) {
        ++gLiveBlocks;
    }
    return block;
}

void x_mem_free(void* pv_mem) {
    gFault(FAKE_MEM_FREE);
    if (pv_mem != nullptr) {
        --gLiveBlocks;
        free(pv_mem);
    }
}

}  // extern "C"
