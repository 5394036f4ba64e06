#pragma once

// What must be held, said where clang's -Wthread-safety (scripts/lint) checks it. For other
// compilers the words mean nothing.
#ifdef __clang__
#define ZERVANE_THREAD_ANNOTATION(words) __attribute__((words))
#else
#define ZERVANE_THREAD_ANNOTATION(words)
#endif

// Of a class: it can be held; holds another one as long as it lives.
#define CAPABILITY(kind) ZERVANE_THREAD_ANNOTATION(capability(kind))
#define SCOPED_CAPABILITY ZERVANE_THREAD_ANNOTATION(scoped_lockable)

// Of a member: what must be held to touch it; to touch what it points to.
#define GUARDED_BY(held) ZERVANE_THREAD_ANNOTATION(guarded_by(held))
#define PT_GUARDED_BY(held) ZERVANE_THREAD_ANNOTATION(pt_guarded_by(held))

// Of a function: what its caller holds, or must not hold.
#define REQUIRES(...) ZERVANE_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define REQUIRES_SHARED(...) ZERVANE_THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define EXCLUDES(...) ZERVANE_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

// Of a function: what it begins or ends to hold.
#define ACQUIRE(...) ZERVANE_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) ZERVANE_THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define RELEASE(...) ZERVANE_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) ZERVANE_THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))
#define RELEASE_ANY(...) ZERVANE_THREAD_ANNOTATION(release_generic_capability(__VA_ARGS__))
#define ASSERT_HELD(...) ZERVANE_THREAD_ANNOTATION(assert_capability(__VA_ARGS__))
#define ASSERT_HELD_SHARED(...) ZERVANE_THREAD_ANNOTATION(assert_shared_capability(__VA_ARGS__))
#define RETURN_CAPABILITY(held) ZERVANE_THREAD_ANNOTATION(lock_returned(held))

// Of a function whose locking cannot be told by the words above; a comment says why it is right.
#define NO_THREAD_SAFETY_ANALYSIS ZERVANE_THREAD_ANNOTATION(no_thread_safety_analysis)
