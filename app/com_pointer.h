// A reference to a COM object, released at the end of its scope.
#pragma once

template <typename Interface> class ComPointer {
public:
    ComPointer() = default;
    explicit ComPointer(Interface *owned) : object(owned) {}   // takes over the caller's reference; may be null
    ComPointer(const ComPointer &) = delete;
    ComPointer &operator=(const ComPointer &) = delete;
    ~ComPointer()
    {
        if (object)
            object->Release();
    }

    // Where a call is to put the object, in the form it asks for; only while there is none.
    Interface **receiver() { return &object; }
    void **untypedReceiver() { return reinterpret_cast<void **>(&object); }

    Interface *get() const { return object; }
    Interface *operator->() const { return object; }
    explicit operator bool() const { return object != nullptr; }

private:
    Interface *object = nullptr;
};
