/* Makes a B-spline curve, measures it, splits it, and shows what a refusal looks like. */
#include <morvel/morvel.h>
#include <stdio.h>

static int fail(const char* what) {
  char text[256];
  get_last_error(text, sizeof text);
  fprintf(stderr, "%s: %s\n", what, text);
  return 1;
}

int main(void) {
  const double points[] = {0, 0, 0, 1, 2, 0, 3, 2, 1, 4, 0, 1, 6, 1, 0};
  const int curve = create_curve_bspline_clamped(points, 5, 3);
  if (curve < 0) return fail("create_curve_bspline_clamped");

  double at[3], length;
  int left, right;
  if (evaluate_curve_at_parameter(curve, 0.5, at) != 0) return fail("evaluate_curve_at_parameter");
  if (evaluate_curve_length(curve, 0.0, 1.0, &length) != 0) return fail("evaluate_curve_length");
  if (split_curve(curve, 0.5, &left, &right) != 0) return fail("split_curve");
  printf("curve %d passes (%.4f, %.4f, %.4f), is %.6f long, and was split into %d and %d\n", curve,
         at[0], at[1], at[2], length, left, right);

  if (create_curve_bspline_clamped(points, 3, 3) < 0)
    fail("three points of degree 3, as they should");
  clear_all_curves();
  return 0;
}
