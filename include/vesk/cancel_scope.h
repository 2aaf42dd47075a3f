#pragma once

/// Gives the plain callback of the long builds a context.
///
/// `vesk_mesh::generate_octree` and `vesk_mesh::generate_uv_lookup_quadtree` poll a function that
/// takes nothing. A scope binds it to any callable with state, on the thread that makes the scope:
/// @code
/// auto poll = [&bar] { bar.advance(); return bar.stopped(); };
/// vesk_cancel_scope scope(poll);
/// mesh.generate_octree(10, nullptr, scope.callback());
/// @endcode
/// Scopes nest; each lives on the stack of the thread that builds. The callable answers 0 or
/// false to go on and must not throw. Header only; costs one thread-local read a poll.
class vesk_cancel_scope
{
public:
    /// Binds `callable`, which has to outlive the scope.
    template <typename Callable> explicit vesk_cancel_scope(Callable &callable)
        : m_callable(&callable)
        , m_call(&call<Callable>)
        , m_outer(current())
    {
        current() = this;
    }

    /// The scope around this one, if any, is in force again.
    ~vesk_cancel_scope()
    {
        current() = m_outer;
    }

    vesk_cancel_scope(const vesk_cancel_scope &) = delete;
    vesk_cancel_scope &operator=(const vesk_cancel_scope &) = delete;

    /// What to pass as `cancel_callback`.
    int (*callback() const)(void)
    {
        return &poll;
    }

private:
    template <typename Callable> static int call(void *callable)
    {
        return (*static_cast<Callable *>(callable))() ? 1 : 0;
    }

    static int poll()
    {
        const vesk_cancel_scope *scope = current();
        return scope ? scope->m_call(scope->m_callable) : 0;
    }

    static vesk_cancel_scope *&current()
    {
        thread_local vesk_cancel_scope *scope = nullptr;
        return scope;
    }

    void *m_callable;
    int (*m_call)(void *);
    vesk_cancel_scope *m_outer;
};
