/* A host may load the library, unload it and load it again: the second time it starts afresh. */
#include <dlfcn.h>
#include <stdio.h>

typedef int (*no_arguments)(void);
typedef int (*three_doubles)(double, double, double);

static int failures = 0;

static void expect(const char* what, int expected, int actual) {
  if (actual == expected) return;
  printf("%s: %d instead of %d\n", what, actual, expected);
  ++failures;
}

/* ISO C has no cast from an object pointer to a function pointer; the bytes are the same. */
static void* find(void* library, const char* name) {
  void* symbol = dlsym(library, name);
  if (!symbol) printf("%s\n", dlerror());
  return symbol;
}

static int use_once(const char* path) {
  union {
    void* symbol;
    no_arguments call;
  } start_id;
  union {
    void* symbol;
    three_doubles call;
  } create_point;
  void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    printf("%s\n", dlerror());
    return 1;
  }
  start_id.symbol = find(library, "debug_get_surface_start_id");
  create_point.symbol = find(library, "create_point");
  if (!start_id.symbol || !create_point.symbol) return 1;
  expect("first surface handle", 40000, start_id.call());
  expect("first point", 2000, create_point.call(1, 2, 3));
  expect("second point", 2001, create_point.call(1, 2, 3));
  if (dlclose(library) != 0) return 1;
  library = dlopen(path, RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD);
  expect("still loaded after it was closed", 0, library != NULL);
  return 0;
}

int main(int argc, char** argv) {
  const int rounds = 3;
  int round;
  if (argc != 2) return 2;
  for (round = 0; round < rounds; ++round)
    if (use_once(argv[1]) != 0) return 1;
  return failures;
}
