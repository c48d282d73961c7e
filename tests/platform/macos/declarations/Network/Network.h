#pragma once

#include <dispatch/dispatch.h>

/// As the vendor documents them: Network.
extern "C" {
typedef struct nw_path* nw_path_t;
typedef struct nw_path_monitor* nw_path_monitor_t;
typedef enum : int {
    nw_path_status_invalid = 0,
    nw_path_status_satisfied = 1,
    nw_path_status_unsatisfied = 2,
    nw_path_status_satisfiable = 3,
} nw_path_status_t;
typedef void (^nw_path_monitor_update_handler_t)(nw_path_t path);
nw_path_status_t nw_path_get_status(nw_path_t path);
nw_path_monitor_t nw_path_monitor_create(void);
void nw_path_monitor_set_queue(nw_path_monitor_t monitor, dispatch_queue_t queue);
void nw_path_monitor_set_update_handler(nw_path_monitor_t monitor,
                                        nw_path_monitor_update_handler_t update_handler);
void nw_path_monitor_start(nw_path_monitor_t monitor);
void nw_path_monitor_cancel(nw_path_monitor_t monitor);
void nw_release(void* obj);
}
