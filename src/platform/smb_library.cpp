// libsmbclient, opened the first time a share is used rather than when the program starts.
// Loading it pulls in some seventy libraries: 40 ms and 15 MB that an upload to an attached
// disk, or a window that never reaches a share, would otherwise pay at every start.
//
// The library's functions that this program calls are defined here under their own names and
// hand each call to the library. They are hidden inside this program, so the library's own
// calls among its functions never come here.
#include <dlfcn.h>
#include <libsmbclient.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/log.h"

namespace {

constexpr const char* kLibrary = "libsmbclient.so.0";

void* libraryHandle() {
    static void* const handle = [] {
        void* h = dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
        if (!h) {
            const char* why = dlerror();
            qvt::platform::SysLog().write(std::string("QVTransfer: cannot load ") + kLibrary +
                                          ": " + (why ? why : "unknown error") + "\n");
        }
        return h;
    }();
    return handle;
}

// The library's function `name`, or nullptr when the library cannot be loaded.
template <class Fn>
Fn optional(const char* name) {
    void* handle = libraryHandle();
    return handle ? reinterpret_cast<Fn>(dlsym(handle, name)) : nullptr;
}

// A function that is called only with a context the library made, so the library is loaded.
template <class Fn>
Fn required(const char* name) {
    const Fn fn = optional<Fn>(name);
    if (!fn) {
        std::fprintf(stderr, "%s lacks %s\n", kLibrary, name);
        std::abort();
    }
    return fn;
}

}  // namespace

#define QVT_OPTIONAL(name) static const auto real = optional<decltype(&::name)>(#name)
#define QVT_REQUIRED(name) static const auto real = required<decltype(&::name)>(#name)

extern "C" {

SMBCCTX* smbc_new_context(void) {
    QVT_OPTIONAL(smbc_new_context);
    if (!real) {
        errno = ENOSYS;
        return nullptr;
    }
    return real();
}

const char* smbc_version(void) {
    QVT_OPTIONAL(smbc_version);
    return real ? real() : "(not available)";
}

int smbc_free_context(SMBCCTX* context, int shutdown_ctx) {
    QVT_REQUIRED(smbc_free_context);
    return real(context, shutdown_ctx);
}

SMBCCTX* smbc_init_context(SMBCCTX* context) {
    QVT_REQUIRED(smbc_init_context);
    return real(context);
}

void smbc_setDebug(SMBCCTX* c, int debug) {
    QVT_REQUIRED(smbc_setDebug);
    real(c, debug);
}

void smbc_setTimeout(SMBCCTX* c, int timeout) {
    QVT_REQUIRED(smbc_setTimeout);
    real(c, timeout);
}

void smbc_setPort(SMBCCTX* c, uint16_t port) {
    QVT_REQUIRED(smbc_setPort);
    real(c, port);
}

void smbc_setOptionUseKerberos(SMBCCTX* c, smbc_bool b) {
    QVT_REQUIRED(smbc_setOptionUseKerberos);
    real(c, b);
}

void smbc_setOptionFallbackAfterKerberos(SMBCCTX* c, smbc_bool b) {
    QVT_REQUIRED(smbc_setOptionFallbackAfterKerberos);
    real(c, b);
}

void smbc_setFunctionAuthDataWithContext(SMBCCTX* c, smbc_get_auth_data_with_context_fn fn) {
    QVT_REQUIRED(smbc_setFunctionAuthDataWithContext);
    real(c, fn);
}

smbc_open_fn smbc_getFunctionOpen(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionOpen);
    return real(c);
}

smbc_read_fn smbc_getFunctionRead(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionRead);
    return real(c);
}

smbc_write_fn smbc_getFunctionWrite(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionWrite);
    return real(c);
}

smbc_unlink_fn smbc_getFunctionUnlink(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionUnlink);
    return real(c);
}

smbc_rename_fn smbc_getFunctionRename(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionRename);
    return real(c);
}

smbc_stat_fn smbc_getFunctionStat(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionStat);
    return real(c);
}

smbc_statvfs_fn smbc_getFunctionStatVFS(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionStatVFS);
    return real(c);
}

smbc_close_fn smbc_getFunctionClose(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionClose);
    return real(c);
}

smbc_opendir_fn smbc_getFunctionOpendir(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionOpendir);
    return real(c);
}

smbc_closedir_fn smbc_getFunctionClosedir(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionClosedir);
    return real(c);
}

smbc_readdir_fn smbc_getFunctionReaddir(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionReaddir);
    return real(c);
}

smbc_mkdir_fn smbc_getFunctionMkdir(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionMkdir);
    return real(c);
}

smbc_rmdir_fn smbc_getFunctionRmdir(SMBCCTX* c) {
    QVT_REQUIRED(smbc_getFunctionRmdir);
    return real(c);
}

}  // extern "C"
