#pragma once

// Basic types of the library: coordinates, string pointers, the reference
// counted base object and the smart pointer that holds it.

#include <cstdint>
#include <cstring>
#include <utility>

namespace VSTGUI {

using CCoord = double;
using UTF8StringPtr = const char*;
using UTF8StringBuffer = char*;
using IdStringPtr = const char*;

enum CMessageResult {
    kMessageUnknown = 0,
    kMessageNotified = 1
};

// Reference counted object. A new object holds one reference, owned by its
// creator; remember() adds one, forget() drops one and deletes the object
// when none is left. Views, bitmaps, fonts and contexts are such objects.
class CBaseObject {
public:
    CBaseObject() = default;
    CBaseObject(const CBaseObject&) : nbReference(1) {}
    CBaseObject& operator=(const CBaseObject&) { return *this; }
    virtual ~CBaseObject() = default;

    virtual void remember() { ++nbReference; }
    virtual void forget()
    {
        if (--nbReference == 0) delete this;
    }
    int32_t getNbReference() const { return nbReference; }

    // A message from an object this one depends on (see IDependency).
    virtual CMessageResult notify(CBaseObject* sender, IdStringPtr message)
    {
        return kMessageUnknown;
    }

    // Run-time type by class name: true for the class's own name and for
    // the names of its bases.
    virtual bool isTypeOf(IdStringPtr s) const { return std::strcmp(s, "CBaseObject") == 0; }
    virtual IdStringPtr getClassName() const { return "CBaseObject"; }
    // A copy of the object with one reference, or null if it cannot be copied.
    virtual CBaseObject* newCopy() const { return nullptr; }

private:
    int32_t nbReference = 1;
};

// Declares isTypeOf, getClassName and newCopy for a class with a copy
// constructor.
#define CLASS_METHODS(name, parent)                                          \
    bool isTypeOf(VSTGUI::IdStringPtr s) const override                      \
    {                                                                        \
        return std::strcmp(s, #name) == 0 ? true : parent::isTypeOf(s);      \
    }                                                                        \
    VSTGUI::IdStringPtr getClassName() const override { return #name; }      \
    VSTGUI::CBaseObject* newCopy() const override { return new name(*this); }

// The same for a class that cannot be copied.
#define CLASS_METHODS_NOCOPY(name, parent)                                   \
    bool isTypeOf(VSTGUI::IdStringPtr s) const override                      \
    {                                                                        \
        return std::strcmp(s, #name) == 0 ? true : parent::isTypeOf(s);      \
    }                                                                        \
    VSTGUI::IdStringPtr getClassName() const override { return #name; }      \
    VSTGUI::CBaseObject* newCopy() const override { return nullptr; }

// Holds one reference to a CBaseObject (or any class with remember/forget).
template <class T>
class SharedPointer {
public:
    SharedPointer() = default;
    SharedPointer(T* p, bool remember = true) : ptr(p)
    {
        if (ptr && remember) ptr->remember();
    }
    SharedPointer(const SharedPointer& o) : ptr(o.ptr)
    {
        if (ptr) ptr->remember();
    }
    SharedPointer(SharedPointer&& o) noexcept : ptr(o.ptr) { o.ptr = nullptr; }
    template <class U>
    SharedPointer(const SharedPointer<U>& o) : ptr(o.get())
    {
        if (ptr) ptr->remember();
    }
    ~SharedPointer()
    {
        if (ptr) ptr->forget();
    }

    SharedPointer& operator=(T* p)
    {
        if (p != ptr) {
            if (p) p->remember();
            if (ptr) ptr->forget();
            ptr = p;
        }
        return *this;
    }
    SharedPointer& operator=(const SharedPointer& o) { return *this = o.ptr; }
    SharedPointer& operator=(SharedPointer&& o) noexcept
    {
        if (this != &o) {
            if (ptr) ptr->forget();
            ptr = o.ptr;
            o.ptr = nullptr;
        }
        return *this;
    }

    T* get() const { return ptr; }
    T* operator->() const { return ptr; }
    T& operator*() const { return *ptr; }
    operator T*() const { return ptr; }
    explicit operator bool() const { return ptr != nullptr; }

    template <class U>
    SharedPointer<U> cast() const
    {
        return SharedPointer<U>(dynamic_cast<U*>(ptr));
    }

private:
    T* ptr = nullptr;
};

// Takes over the reference a new object was born with.
template <class T>
inline SharedPointer<T> owned(T* p)
{
    return SharedPointer<T>(p, false);
}

template <class T, class... Args>
inline SharedPointer<T> makeOwned(Args&&... args)
{
    return SharedPointer<T>(new T(std::forward<Args>(args)...), false);
}

// Keeps an object alive for the length of a scope.
class CBaseObjectGuard {
public:
    explicit CBaseObjectGuard(CBaseObject* o) : obj(o)
    {
        if (obj) obj->remember();
    }
    ~CBaseObjectGuard()
    {
        if (obj) obj->forget();
    }
    CBaseObjectGuard(const CBaseObjectGuard&) = delete;
    CBaseObjectGuard& operator=(const CBaseObjectGuard&) = delete;

private:
    CBaseObject* obj;
};

} // namespace VSTGUI
