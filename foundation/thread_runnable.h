// SPDX-License-Identifier: GPL-2.0-or-later
// What a thread runs.
#pragma once

namespace ulk::detail {

/// A member function and the object that it is called on. The object must outlive the thread.
template <class Object>
class ThreadRunnableMemFn {
public:
    ThreadRunnableMemFn(Object* object, int (Object::*function)()) noexcept : m_object(object), m_function(function) {}

    int operator()() const { return (m_object->*m_function)(); }

private:
    Object* m_object;
    int (Object::*m_function)();
};

} // namespace ulk::detail
