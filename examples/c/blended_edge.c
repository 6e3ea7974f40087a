/* Rounds the edge between a floor and a wall by a rolling ball. The blend of two planes at a right
   angle is a quarter of a cylinder, which the program measures its result against. */
#include <math.h>
#include <morvel/morvel.h>
#include <stdio.h>

enum { GRID = 31 };

static int fail(const char* what) {
  char text[256];
  get_last_error(text, sizeof text);
  fprintf(stderr, "%s: %s\n", what, text);
  return 1;
}

int main(void) {
  set_log_level(MORVEL_LOG_ERROR);
  const double radius = 0.5;

  /* They meet in the y axis; the normals (u vector x v vector) point into the room between them. */
  const double floor_corner[] = {0, -2, 0}, wall_corner[] = {0, -2, 0};
  const double x[] = {3, 0, 0}, y[] = {0, 4, 0}, z[] = {0, 0, 3};
  const int floor_plane = create_surface_plane(floor_corner, x, y);
  const int wall_plane = create_surface_plane(wall_corner, y, z);
  if (floor_plane < 0 || wall_plane < 0) return fail("the planes");

  int spine;
  const int blend = create_rolling_ball_blend(floor_plane, wall_plane, radius, 20, 20, 20, 10, 0, 1,
                                              NULL, NULL, &spine);
  if (blend < 0) return fail("create_rolling_ball_blend");

  double length;
  if (evaluate_curve_length(spine, 0.0, 1.0, &length) != 0) return fail("the spine");
  printf("the ball rolled %.6f along the edge of 4\n", length);

  static double parameters[GRID], points[3 * GRID * GRID];
  for (int i = 0; i < GRID; ++i)
    parameters[i] = i / (GRID - 1.0);
  if (evaluate_surface_grid(blend, parameters, GRID, parameters, GRID, 0, points) != 0)
    return fail("evaluate_surface_grid");
  double off_cylinder = 0, off_floor = 0, off_wall = 0;
  for (int i = 0; i < GRID * GRID; ++i) {
    const double* p = points + 3 * i;
    off_cylinder = fmax(off_cylinder, fabs(hypot(p[0] - radius, p[2] - radius) - radius));
    if (i % GRID == 0) off_floor = fmax(off_floor, fabs(p[2]));
    if (i % GRID == GRID - 1) off_wall = fmax(off_wall, fabs(p[0]));
  }
  printf(
      "largest distance from the quarter cylinder %.1e, its edges from floor and wall %.1e, %.1e\n",
      off_cylinder, off_floor, off_wall);

  cleanup_all_surfaces();
  clear_all_curves();
  return off_cylinder < 1e-4 * radius && off_floor < 1e-9 && off_wall < 1e-9 ? 0 : 1;
}
