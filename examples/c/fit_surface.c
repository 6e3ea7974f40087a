/* Fits a surface to scattered points near a saddle, then asks for the closest points of it. */
#include <math.h>
#include <morvel/morvel.h>
#include <stdio.h>
#include <stdlib.h>

enum { SCATTERED = 4000, PROBES = 500, GRID = 21 };

static double between(double low, double high) { return low + (high - low) * rand() / RAND_MAX; }

static double saddle(double x, double y) { return 0.1 * (x * x - y * y); }

static int fail(const char* what) {
  char text[256];
  get_last_error(text, sizeof text);
  fprintf(stderr, "%s: %s\n", what, text);
  return 1;
}

/* The surface nearest to the points in the least-squares sense: its handle. */
static int fitted(const double* points, int count) {
  const int engine = create_surface_engine1(points, count);
  if (engine < 0) return engine;
  const int plane_method = 2;
  double largest, rms, condition, milliseconds[3];
  int surface = -1;
  if (fit_surface_engine1(engine, plane_method) == 1 &&
      get_surface_engine1_report(engine, &largest, &rms, &condition, milliseconds) == 0) {
    printf("%d points fitted: rms deviation %.5f, largest %.5f\n", count, rms, largest);
    surface = register_surface_engine1_in_main_system(engine);
  }
  destroy_surface_engine1(engine); /* the registered surface stays */
  return surface;
}

int main(void) {
  set_log_level(MORVEL_LOG_ERROR);
  srand(1);

  static double points[3 * SCATTERED];
  for (int i = 0; i < SCATTERED; ++i) {
    points[3 * i] = between(-3, 3);
    points[3 * i + 1] = between(-1.5, 1.5);
    points[3 * i + 2] = saddle(points[3 * i], points[3 * i + 1]) + between(-0.01, 0.01);
  }
  const int surface = fitted(points, SCATTERED);
  if (surface < 0) return fail("the fit");

  /* Points straight above the surface at a known distance along its normals. */
  static double parameters[2 * PROBES], at[12 * PROBES], probes[3 * PROBES];
  static double found[2 * PROBES], distances[PROBES];
  const double height = 0.1;
  for (int i = 0; i < 2 * PROBES; ++i)
    parameters[i] = between(0.1, 0.9);
  if (evaluate_surface_batch(surface, parameters, PROBES, 1, at) != 0) return fail("evaluation");
  for (int i = 0; i < PROBES; ++i)
    for (int axis = 0; axis < 3; ++axis)
      probes[3 * i + axis] = at[12 * i + axis] + height * at[12 * i + 9 + axis];
  if (project_points_to_surface_batch(surface, probes, PROBES, found, NULL, distances) != 0)
    return fail("project_points_to_surface_batch");

  double worst = 0, moved = 0;
  for (int i = 0; i < PROBES; ++i) {
    worst = fmax(worst, fabs(distances[i] - height));
    moved = fmax(moved, fabs(found[2 * i] - parameters[2 * i]));
    moved = fmax(moved, fabs(found[2 * i + 1] - parameters[2 * i + 1]));
  }
  printf("closest points of %d probes: off by %.0e in distance, %.0e in parameters\n", PROBES,
         worst, moved);

  /* Away from the rim the fit is nearer to the saddle than the points it was made from. */
  static double u[GRID], grid[3 * GRID * GRID];
  for (int i = 0; i < GRID; ++i)
    u[i] = 0.05 + 0.9 * i / (GRID - 1.0);
  if (evaluate_surface_grid(surface, u, GRID, u, GRID, 0, grid) != 0) return fail("the grid");
  double of_fit = 0, of_points = 0;
  for (int i = 0; i < GRID * GRID; ++i)
    of_fit += pow(grid[3 * i + 2] - saddle(grid[3 * i], grid[3 * i + 1]), 2) / (GRID * GRID);
  for (int i = 0; i < SCATTERED; ++i)
    of_points += pow(points[3 * i + 2] - saddle(points[3 * i], points[3 * i + 1]), 2) / SCATTERED;
  printf("rms noise of the points %.5f, of the fit %.5f: smoothed: %s\n", sqrt(of_points),
         sqrt(of_fit), of_fit < of_points / 4 ? "yes" : "no");

  delete_surface(surface);
  return 0;
}
