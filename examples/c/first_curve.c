/* Makes a B-spline curve, measures and splits it, and shows what refusals look like. */
#include <morvel/morvel.h>
#include <stdio.h>

static int fail(const char* what) {
  char text[256];
  get_last_error(text, sizeof text);
  fprintf(stderr, "%s: %s\n", what, text);
  return 1;
}

/* A refused call returns a code below 0, stores nothing, and leaves a text behind. */
static void show_refusal(const char* call, int code) {
  char text[256];
  get_last_error(text, sizeof text);
  printf("%s: code %d, \"%s\"\n", call, code, text);
  clear_last_error();
}

int main(void) {
  set_log_level(MORVEL_LOG_ERROR); /* without it the library tells what it does */

  const double points[] = {0, 0, 0, 1, 2, 0, 3, 2, 1, 4, 0, 1, 6, 1, 0};
  const int curve = create_curve_bspline_clamped(points, 5, 3);
  if (curve < 0) return fail("create_curve_bspline_clamped");

  double at[3], length, nearest;
  int left, right;
  if (evaluate_curve_at_parameter(curve, 0.5, at) != 0) return fail("evaluate_curve_at_parameter");
  if (evaluate_curve_length(curve, 0.0, 1.0, &length) != 0) return fail("evaluate_curve_length");
  if (get_curve_closest_parameter(curve, at[0], at[1], at[2], &nearest) != 0)
    return fail("get_curve_closest_parameter");
  if (split_curve(curve, 0.5, &left, &right) != 0) return fail("split_curve");
  printf("curve %d passes (%.4f, %.4f, %.4f), found again at %.6f\n", curve, at[0], at[1], at[2],
         nearest);

  double of_left, of_right;
  if (evaluate_curve_length(left, 0.0, 0.5, &of_left) != 0 ||
      evaluate_curve_length(right, 0.5, 1.0, &of_right) != 0)
    return fail("evaluate_curve_length");
  printf("its length %.9f is that of its halves, %.9f + %.9f, to %.0e\n", length, of_left, of_right,
         length - of_left - of_right);

  show_refusal("three points of degree 3", create_curve_bspline_clamped(points, 3, 3));
  show_refusal("no room for the point", evaluate_curve_at_parameter(curve, 0.5, NULL));
  show_refusal("a handle that was never given", evaluate_curve_at_parameter(12345, 0.5, at));

  clear_all_curves();
  printf("%d curves are left\n", get_curve_count());
  return 0;
}
