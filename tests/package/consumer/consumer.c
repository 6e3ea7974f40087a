/* The flat interface of the installed library: handles, counts and codes of a fresh process. */
#include <morvel/morvel.h>
#include <stdio.h>

static int failures = 0;

static void expect(const char* what, int expected, int actual) {
  if (actual == expected) return;
  printf("%s: %d instead of %d\n", what, actual, expected);
  ++failures;
}

int main(void) {
  expect("first curve", 20000, create_curve_line(0, 0, 0, 3, 4, 0));
  expect("second curve", 20001, create_curve_line(0, 0, 0, 0, 0, 1));
  expect("curves", 2, get_curve_count());
  expect("deleting", 0, delete_curve(20000));
  expect("deleting again", -3, delete_curve(20000));
  expect("curves left", 1, get_curve_count());
  expect("first surface to come", 40000, debug_get_surface_start_id());
  return failures;
}
