// What guards what, in the words of clang's thread-safety analysis, which holds every build with
// clang to it; other compilers see nothing. Constructors and destructors are not looked into: there
// nobody else has the object.
#pragma once

#ifdef __clang__
#define THREAD_ANNOTATION(...) __attribute__((__VA_ARGS__))
#else
#define THREAD_ANNOTATION(...)
#endif

// A class that is a lock, and one whose objects hold a lock as long as they live.
#define CAPABILITY(kind) THREAD_ANNOTATION(capability(kind))
#define SCOPED_CAPABILITY THREAD_ANNOTATION(scoped_lockable)

// A field that is touched with the lock held only.
#define GUARDED_BY(lock) THREAD_ANNOTATION(guarded_by(lock))

// A function that is called with the locks held, shared or without them.
#define REQUIRES(...) THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define REQUIRES_SHARED(...) THREAD_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define EXCLUDES(...) THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))

// A function that takes the locks, or gives them back.
#define ACQUIRE(...) THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define ACQUIRE_SHARED(...) THREAD_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define RELEASE(...) THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define RELEASE_SHARED(...) THREAD_ANNOTATION(release_shared_capability(__VA_ARGS__))

// A function that the analysis cannot follow; a comment says why.
#define NO_THREAD_SAFETY_ANALYSIS THREAD_ANNOTATION(no_thread_safety_analysis)
