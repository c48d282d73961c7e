#pragma once

/// As the vendor documents them: Dispatch.
extern "C" {
typedef struct dispatch_queue_s* dispatch_queue_t;
typedef struct dispatch_queue_attr_s* dispatch_queue_attr_t;
typedef void (*dispatch_function_t)(void*);
#define DISPATCH_QUEUE_SERIAL nullptr
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr);
void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* context,
                                 dispatch_function_t destructor);
void* dispatch_get_specific(const void* key);
void dispatch_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
void dispatch_release(dispatch_queue_t object);
}
