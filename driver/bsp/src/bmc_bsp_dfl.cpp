// Object properties: the typed layer over the management framework. Each wrapper builds or
// unpacks one GVariant, makes one framework call, releases every value it owns on every path
// and logs the outcome under the object's name. No GVariant leaves this file.
//
// Then the files, key material and crypto start-up the management applications share: whole
// buffer reads and writes of existing files, the file manager's accessibility test, the two
// kinds of key material kept as object properties, and OpenSSL's one-time initialisation.
#include <glib.h>
#include <openssl/crypto.h>
#include <openssl/ssl.h>
#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "bmc_bsp.h"
#include "core/log.h"
#include "core/status.h"
#include "platform/dfl.h"
#include "platform/misc.h"
#include "platform/securec.h"
#include "platform/vos.h"

namespace {

using bsp::kErrS;
using bsp::kLogError;
using bsp::kLogNotice;
using bsp::kLogTrace;
using bsp::kOkS;

// Owns one reference to a value and releases it when it goes out of scope. A value the
// library builds is sunk at once, so a framework that sinks what it is given still leaves us
// exactly the one reference we release.
class OwnedValue {
public:
    OwnedValue() = default;
    explicit OwnedValue(GVariant *built) : value_(built ? g_variant_ref_sink(built) : nullptr) {}
    ~OwnedValue()
    {
        if (value_ != nullptr) g_variant_unref(value_);
    }
    OwnedValue(const OwnedValue &) = delete;
    OwnedValue &operator=(const OwnedValue &) = delete;

    GVariant *get() const { return value_; }
    // Where a getter lets the framework store the reference it hands over.
    GVariant **out() { return &value_; }

private:
    GVariant *value_ = nullptr;
};

// The object's name for a log line; the framework answers null for a handle it does not know.
const char *object_name(OBJ_HANDLE handle)
{
    const char *name = dfl_get_object_name(handle);
    return name != nullptr ? name : "(null)";
}

/* ------------------------------------------------------------ numeric values, one shape */

// Value conversions per C type.
template <typename T>
struct Variant;
template <>
struct Variant<uint8_t> {
    static GVariant *make(uint8_t v) { return g_variant_new_byte(v); }
    static uint8_t take(GVariant *v) { return g_variant_get_byte(v); }
};
template <>
struct Variant<uint16_t> {
    static GVariant *make(uint16_t v) { return g_variant_new_uint16(v); }
    static uint16_t take(GVariant *v) { return g_variant_get_uint16(v); }
};
template <>
struct Variant<int16_t> {
    static GVariant *make(int16_t v) { return g_variant_new_int16(v); }
    static int16_t take(GVariant *v) { return g_variant_get_int16(v); }
};
template <>
struct Variant<int32_t> {
    static GVariant *make(int32_t v) { return g_variant_new_int32(v); }
    static int32_t take(GVariant *v) { return g_variant_get_int32(v); }
};
template <>
struct Variant<uint32_t> {
    static GVariant *make(uint32_t v) { return g_variant_new_uint32(v); }
    static uint32_t take(GVariant *v) { return g_variant_get_uint32(v); }
};

using Fetch = int32_t (*)(OBJ_HANDLE, const char *, GVariant **);

int32_t fetch_stored(OBJ_HANDLE handle, const char *property, GVariant **value)
{
    return dfl_get_property_value(handle, property, value);
}

// The hardware getter passes no option of its own.
int32_t fetch_hardware(OBJ_HANDLE handle, const char *property, GVariant **value)
{
    return dfl_get_hardware_value(handle, property, value, 0);
}

// How the numeric getters differ: where the value comes from, what a failure returns, and the
// success line (none for the hardware getter). The byte getter's success line has a comma
// after the property name that the others lack; both texts are kept as they are known.
struct GetterKind {
    Fetch fetch;
    bool framework_code_on_failure;  // false: -1
    const char *success;             // level 2; nullptr: no line
};

constexpr const char *kGetFailed = "%s get property %s failed! result: %d.";
constexpr const char *kSetFailed = "%s set property %s value %d failed! result: %d.";
constexpr const char *kSetSucceeded = "%s set property %s value %d succeed.";

constexpr GetterKind kStoredGetter{fetch_stored, true, "%s get property %s value %d succeed."};
constexpr GetterKind kStoredByteGetter{fetch_stored, true, "%s get property %s, value %d succeed."};
constexpr GetterKind kHardwareByteGetter{fetch_hardware, false, nullptr};

// Values are logged with %d: a uint32 above 0x7FFFFFFF shows negative, an int16 sign-extended.
template <typename T>
int32_t as_logged(T v)
{
    return static_cast<int32_t>(v);
}

template <typename T>
int32_t get_numeric(const GetterKind &kind, OBJ_HANDLE handle, const char *property, T *out)
{
    if (out == nullptr) return kErrS;
    OwnedValue value;
    int32_t rc = kind.fetch(handle, property, value.out());
    if (rc != 0) {
        BSP_LOG(kLogError, kGetFailed, object_name(handle), property, rc);
        return kind.framework_code_on_failure ? rc : kErrS;
    }
    *out = Variant<T>::take(value.get());
    if (kind.success != nullptr) BSP_LOG(kLogTrace, kind.success, object_name(handle), property, as_logged(*out));
    return kOkS;
}

// The plain setters pass option 0, the *_option ones the caller's word.
template <typename T>
int32_t set_numeric(OBJ_HANDLE handle, const char *property, T v, uint32_t option)
{
    OwnedValue value(Variant<T>::make(v));
    int32_t rc = dfl_set_property_value(handle, property, value.get(), option);
    if (rc != 0) {
        BSP_LOG(kLogError, kSetFailed, object_name(handle), property, as_logged(v), rc);
        return rc;
    }
    BSP_LOG(kLogTrace, kSetSucceeded, object_name(handle), property, as_logged(v));
    return kOkS;
}

constexpr uint32_t kNoOption = 0;

// A byte array value of the caller's bytes; nullptr when they cannot make one.
GVariant *new_byte_array(const uint8_t *data, int32_t count)
{
    if (count < 0 || (data == nullptr && count > 0)) return nullptr;
    return g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, data, static_cast<gsize>(count), sizeof(uint8_t));
}

}  // namespace

extern "C" {

/* ---------------------------------------------------------------- numeric getters */

int32_t dfl_get_property_ubyte(OBJ_HANDLE handle, const char *property, uint8_t *value)
{
    return get_numeric(kStoredByteGetter, handle, property, value);
}

int32_t dfl_get_property_uint16(OBJ_HANDLE handle, const char *property, uint16_t *value)
{
    return get_numeric(kStoredGetter, handle, property, value);
}

int32_t dfl_get_property_int16(OBJ_HANDLE handle, const char *property, int16_t *value)
{
    return get_numeric(kStoredGetter, handle, property, value);
}

int32_t dfl_get_property_int32(OBJ_HANDLE handle, const char *property, int32_t *value)
{
    return get_numeric(kStoredGetter, handle, property, value);
}

int32_t dfl_get_property_uint32(OBJ_HANDLE handle, const char *property, uint32_t *value)
{
    return get_numeric(kStoredGetter, handle, property, value);
}

int32_t dfl_get_hardware_ubyte_option(OBJ_HANDLE handle, const char *property, uint8_t *value)
{
    return get_numeric(kHardwareByteGetter, handle, property, value);
}

/* ---------------------------------------------------------------- numeric setters */

int32_t dfl_set_property_ubyte(OBJ_HANDLE handle, const char *property, uint8_t value)
{
    return set_numeric(handle, property, value, kNoOption);
}

int32_t dfl_set_property_ubyte_option(OBJ_HANDLE handle, const char *property, uint8_t value, uint32_t option)
{
    return set_numeric(handle, property, value, option);
}

// Another name of the same setter; both are in use.
int32_t BSP_SetPropertyUbyte(OBJ_HANDLE handle, const char *property, uint8_t value, uint32_t option)
{
    return dfl_set_property_ubyte_option(handle, property, value, option);
}

int32_t dfl_set_property_uint16(OBJ_HANDLE handle, const char *property, uint16_t value)
{
    return set_numeric(handle, property, value, kNoOption);
}

int32_t BSP_SetPropertyUint16(OBJ_HANDLE handle, const char *property, uint16_t value, uint32_t option)
{
    return set_numeric(handle, property, value, option);
}

int32_t dfl_set_property_int16(OBJ_HANDLE handle, const char *property, int16_t value)
{
    return set_numeric(handle, property, value, kNoOption);
}

int32_t dfl_set_property_int32(OBJ_HANDLE handle, const char *property, int32_t value)
{
    return set_numeric(handle, property, value, kNoOption);
}

int32_t dfl_set_property_int32_option(OBJ_HANDLE handle, const char *property, int32_t value, uint32_t option)
{
    return set_numeric(handle, property, value, option);
}

int32_t dfl_set_property_uint32(OBJ_HANDLE handle, const char *property, uint32_t value)
{
    return set_numeric(handle, property, value, kNoOption);
}

/* ---------------------------------------------------------------------------- text */

int32_t dfl_set_property_string(OBJ_HANDLE handle, const char *property, const char *value)
{
    if (value == nullptr) {
        BSP_LOG(kLogError, "%s set property %s failed(buff is null).", object_name(handle), property);
        return kErrS;
    }
    OwnedValue stored(g_variant_new_string(value));
    int32_t rc = dfl_set_property_value(handle, property, stored.get(), kNoOption);
    if (rc != 0) {
        BSP_LOG(kLogError, "%s set property %s value %s failed! result: %d.", object_name(handle), property, value, rc);
        return rc;
    }
    BSP_LOG(kLogTrace, "%s set property %s value %s succeed.", object_name(handle), property, value);
    return kOkS;
}

int32_t dfl_get_property_string(OBJ_HANDLE handle, const char *property, char *buffer, uint32_t size)
{
    if (buffer == nullptr) return kErrS;
    OwnedValue value;
    int32_t rc = dfl_get_property_value(handle, property, value.out());
    if (rc != 0) {
        BSP_LOG(kLogError, kGetFailed, object_name(handle), property, rc);
        return kErrS;
    }
    BSP_LOG(kLogTrace, "%s get property %s result %d.", object_name(handle), property, rc);
    const char *text = g_variant_get_string(value.get(), nullptr);
    if (text == nullptr) return kErrS;
    auto len = static_cast<uint32_t>(std::strlen(text));
    // Computed unsigned on purpose: a size of 0 wraps and passes; callers never pass 0.
    if (size - 1u < len) {
        BSP_LOG(kLogError, "%s get property %s failed(size %d is too small, string len is %d).", object_name(handle),
                property, as_logged(size), as_logged(len));
        return kErrS;
    }
    int copied = strncpy_s(buffer, size, text, len);
    if (copied != 0) {
        // Deliberately forgiving: the failure is logged and the read still counts as done.
        BSP_LOG(kLogError, "Error: copy property string failed, result = %d.", copied);
    }
    buffer[len] = '\0';
    BSP_LOG(kLogTrace, "%s get property %s value %s succeed.", object_name(handle), property, buffer);
    return kOkS;
}

/* ---------------------------------------------------------------------- byte arrays */

int32_t BSP_Get_property_ubyteArry(OBJ_HANDLE handle, const char *property, uint8_t *buffer, int32_t length)
{
    if (buffer == nullptr || length < 0) return kErrS;
    OwnedValue value;
    int32_t rc = dfl_get_property_value(handle, property, value.out());
    if (rc != 0) {
        BSP_LOG(kLogError, "Get %s error!, ret is %d", property, rc);
        return rc;
    }
    gsize count = 0;
    const void *data = g_variant_get_fixed_array(value.get(), &count, sizeof(uint8_t));
    if (data == nullptr) return kErrS;
    // The caller learns only that at most `length` bytes were written; bytes beyond a shorter
    // property are left as they were.
    gsize n = std::min<gsize>(count, static_cast<gsize>(length));
    int copied = memcpy_s(buffer, static_cast<size_t>(length), data, n);
    if (copied != 0) BSP_LOG(kLogError, "Memcpy %s to buf failed, ret is %d.", property, copied);
    return copied;
}

int32_t BSP_Set_property_ubyteArry(OBJ_HANDLE handle, const char *property, const uint8_t *data, int32_t count,
                                   uint32_t option)
{
    OwnedValue value(new_byte_array(data, count));
    if (value.get() == nullptr) {
        BSP_LOG(kLogNotice, "Get property(%s) data fail.", property);
        return kErrS;
    }
    int32_t rc = dfl_set_property_value(handle, property, value.get(), option);
    if (rc != 0) {
        // Unlike the array getter, the framework's code stays here: callers see -1.
        BSP_LOG(kLogError, "Update %s fail, ret=%d.", property, rc);
        return kErrS;
    }
    return kOkS;
}

}  // extern "C"

/* ======================================================= files, key material and crypto */

namespace {

// Paths longer than this are refused before the file system sees them.
constexpr size_t kMaxPathLen = 4096;
static_assert(PATH_MAX >= kMaxPathLen, "realpath needs room for every accepted path");

// Resolves `path` (symlinks, "." and "..") into `resolved`. False for a null or over-long
// path, or one the file system cannot resolve (a missing file among them); errno says why.
bool canonical(const char *path, char (&resolved)[PATH_MAX])
{
    if (path == nullptr) {
        errno = EINVAL;
        return false;
    }
    if (strnlen(path, kMaxPathLen + 1) > kMaxPathLen) {
        errno = ENAMETOOLONG;
        return false;
    }
    return realpath(path, resolved) != nullptr;
}

struct CloseFile {
    void operator()(FILE *f) const { (void)std::fclose(f); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// The file manager's paths fit this buffer.
constexpr uint32_t kFmPathLen = 256;

// The work key is read whole into a buffer of its own, then copied out at most this long.
constexpr size_t kWorkKeyBufLen = 98;
constexpr size_t kWorkKeyMaxLen = kWorkKeyBufLen - 1;

// Zeroes the work key's buffer on every way out of the function that read into it.
class Wiped {
public:
    Wiped() = default;
    ~Wiped() { (void)memset_s(buf_, sizeof buf_, 0, sizeof buf_); }
    Wiped(const Wiped &) = delete;
    Wiped &operator=(const Wiped &) = delete;
    char *data() { return buf_; }
    static constexpr uint32_t size() { return sizeof buf_; }

private:
    char buf_[kWorkKeyBufLen] = {};
};

// OpenSSL is set up once per process and never again, even when the lock array could not be
// had: a later call does not retry.
std::atomic<bool> g_openssl_started{false};
constexpr int kOpensslLocks = 1;
constexpr size_t kLockNameLen = 32;
// The lock handles OpenSSL's users share; they live as long as the process.
uint64_t *mOpensslLockCs = nullptr;

constexpr uint64_t kCryptoInitFlags = OPENSSL_INIT_ADD_ALL_CIPHERS | OPENSSL_INIT_ADD_ALL_DIGESTS;
constexpr uint64_t kSslInitFlags = OPENSSL_INIT_LOAD_SSL_STRINGS | OPENSSL_INIT_LOAD_CRYPTO_STRINGS;
static_assert(kCryptoInitFlags == 12 && kSslInitFlags == 0x200002, "OpenSSL's init flags moved");

}  // namespace

extern "C" {

int32_t dal_read_file(const char *path, void *buf, size_t len)
{
    char resolved[PATH_MAX];
    if (!canonical(path, resolved)) {
        BSP_LOG(kLogError, "%s file path error.", path != nullptr ? path : "(null)");
        return kErrS;
    }
    File f(std::fopen(resolved, "r"));
    if (!f) {
        BSP_LOG(kLogError, "Open file %s failed.", resolved);
        return kErrS;
    }
    if (std::fseek(f.get(), 0, SEEK_SET) != 0) {
        BSP_LOG(kLogError, " fseek file %s failed.", resolved);
        return kErrS;
    }
    // A null buffer reads nothing, and fails as a short read does.
    const size_t got = buf != nullptr ? std::fread(buf, 1, len, f.get()) : 0;
    if (got != len) {
        BSP_LOG(kLogError, "read file %s to buffer failed. ret=%d.", resolved, 0);
        return kErrS;
    }
    return kOkS;
}

int32_t dal_write_file(const char *path, const void *buf, size_t len)
{
    char resolved[PATH_MAX];
    if (!canonical(path, resolved)) {
        BSP_LOG(kLogError, "file path error,error no is %d", errno);
        return kErrS;
    }
    if (vos_get_file_accessible(resolved) == 0) {
        BSP_LOG(kLogError, "%s: file path not exits.", "dal_write_file");
        return kErrS;
    }
    // Refused before "w+" would truncate what the file holds.
    if (buf == nullptr && len > 0) {
        BSP_LOG(kLogError, "write file %s to buffer failed. ret=%d.", resolved, 0);
        return kErrS;
    }
    File f(std::fopen(resolved, "w+"));
    if (!f) {
        BSP_LOG(kLogError, "Open file %s failed.", resolved);
        return kErrS;
    }
    if (std::fseek(f.get(), 0, SEEK_SET) != 0) {
        BSP_LOG(kLogError, "fseek file %s failed.", resolved);
        return kErrS;
    }
    if (std::fwrite(buf, 1, len, f.get()) != len) {
        BSP_LOG(kLogError, "write file %s to buffer failed. ret=%d.", resolved, 0);
        return kErrS;
    }
    // The bytes count as written only once they reached the medium: a full disk shows here.
    if (std::fflush(f.get()) != 0 || fsync(fileno(f.get())) != 0) {
        BSP_LOG(kLogError, "sync file %s failed,error no is %d", resolved, errno);
        return kErrS;
    }
    return kOkS;
}

int32_t dal_get_fm_file_accessible(const char *a, const char *b, uint32_t c)
{
    if (a == nullptr || b == nullptr) return 0;
    // A path the file manager cannot build stays empty, and an empty path is not accessible.
    char path[kFmPathLen] = {};
    (void)fm_get_file_path(a, b, c, path, kFmPathLen);
    return vos_get_file_accessible(path);
}

// Key material passes through the caller's buffer only: no line below prints a byte of it.
int32_t dal_get_encryptkey_component(const char *object, const char *property, uint8_t *buf, int32_t size)
{
    if (object == nullptr || property == nullptr || buf == nullptr) return kErrS;
    OBJ_HANDLE handle = 0;
    int32_t rc = dfl_get_object_handle(object, &handle);
    if (rc != 0) {
        BSP_LOG(kLogError, "Get %s object handle failed, ret = %d.", object, rc);
        return kErrS;
    }
    OwnedValue value;
    rc = dfl_get_property_value(handle, property, value.out());
    if (rc != 0) {
        BSP_LOG(kLogError, "Get %s component failed, ret = %d.", object, rc);
        return kErrS;
    }
    // A value that is no byte array holds no component (and is not handed to GLib as one).
    gsize n = 0;
    const void *bytes = g_variant_is_of_type(value.get(), G_VARIANT_TYPE_BYTESTRING)
                            ? g_variant_get_fixed_array(value.get(), &n, sizeof(uint8_t))
                            : nullptr;
    if (bytes == nullptr || static_cast<int64_t>(size) < static_cast<int64_t>(n)) {
        BSP_LOG(kLogError, "invalid input para: %d < %lu.", size, static_cast<unsigned long>(n));
        return kErrS;
    }
    if (int moved = memmove_s(buf, static_cast<size_t>(size), bytes, n); moved != 0) {
        BSP_LOG(kLogError, "memmove_s fail, ret = %d\n", moved);
        return kErrS;
    }
    return kOkS;
}

int32_t dal_get_encryptkey_workkey(const char *object, const char *property, char *buf, int32_t size)
{
    if (object == nullptr || property == nullptr || buf == nullptr) return kErrS;
    OBJ_HANDLE handle = 0;
    int32_t rc = dfl_get_object_handle(object, &handle);
    if (rc != 0) {
        BSP_LOG(kLogError, "Get %s object handle failed, ret = %d!\n", object, rc);
        return kErrS;
    }
    // Wiped when this returns, whatever the read or the copy left in it.
    Wiped work;
    rc = dal_get_property_value_string(handle, property, work.data(), Wiped::size());
    if (rc != 0) {
        BSP_LOG(kLogError, "Get %s workkey failed, ret = %d!\n", object, rc);
        return kErrS;
    }
    // A negative size is no room at all; the copy refuses it.
    const size_t room = size > 0 ? static_cast<size_t>(size) : 0;
    if (int copied = strncpy_s(buf, room, work.data(), kWorkKeyMaxLen); copied != 0) {
        BSP_LOG(kLogError, "strncpy_s fail, ret = %d\n", copied);
        return kErrS;
    }
    return kOkS;
}

unsigned long dal_get_self_thread_id(void)
{
    static_assert(sizeof(pthread_t) == sizeof(unsigned long), "thread ids are handed out as unsigned long");
    return static_cast<unsigned long>(pthread_self());
}

void dal_init_openssl(void)
{
    if (g_openssl_started.exchange(true)) return;
    (void)OPENSSL_init_ssl(0, nullptr);
    (void)OPENSSL_init_crypto(kCryptoInitFlags, nullptr);
    (void)OPENSSL_init_ssl(kSslInitFlags, nullptr);
    mOpensslLockCs = static_cast<uint64_t *>(OPENSSL_malloc(kOpensslLocks * sizeof(uint64_t)));
    if (mOpensslLockCs == nullptr) {
        BSP_LOG(kLogError, "OPENSSL_malloc mOpensslLockCs failed.");
        return;
    }
    for (int i = 0; i < kOpensslLocks; ++i) {
        char name[kLockNameLen] = {};
        if (snprintf_s(name, sizeof name, sizeof name - 1, "openssl_lock%d", i) < 0) {
            BSP_LOG(kLogError, "Error: copy openssl_lock failed.");
        }
        // The lock's creation is not checked: OpenSSL 3 locks for itself, the handle is for
        // the callers that still take it.
        (void)vos_thread_mutex_sem4_create(&mOpensslLockCs[i], name);
    }
}

}  // extern "C"
