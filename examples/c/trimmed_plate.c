/* A plate with a round hole and a slot: which points are on it, its area, its triangles as OBJ.
     trimmed_plate [FILE.obj] */
#include <math.h>
#include <morvel/morvel.h>
#include <stdio.h>
#include <stdlib.h>

enum { WIDTH = 4, DEPTH = 3, CIRCLE_POINTS = 200, SLOT_POINTS = 4, RESOLUTION = 60 };

static int fail(const char* what) {
  char text[256];
  get_last_error(text, sizeof text);
  fprintf(stderr, "%s: %s\n", what, text);
  return 1;
}

/* A base of 4 x 3 in which u and v run over [0, 1], and loops in (u, v). */
static int make_plate(void) {
  const double origin[] = {0, 0, 0}, along_u[] = {WIDTH, 0, 0}, along_v[] = {0, DEPTH, 0};
  const int base = create_surface_plane(origin, along_u, along_v);
  if (base < 0) return base;

  static double uv[2 * (4 + CIRCLE_POINTS + SLOT_POINTS)];
  const double outline[] = {0, 0, 1, 0, 1, 1, 0, 1};
  const double slot[] = {0.1, 0.2, 0.1, 0.8, 0.2, 0.8, 0.2, 0.2}; /* 0.4 x 1.8 in space */
  for (int i = 0; i < 8; ++i) {
    uv[i] = outline[i];
    uv[8 + 2 * CIRCLE_POINTS + i] = slot[i];
  }
  const double turn = 2 * acos(-1.0) / CIRCLE_POINTS;
  for (int i = 0; i < CIRCLE_POINTS; ++i) { /* of radius 1 in space, about (2.6, 1.5) */
    uv[8 + 2 * i] = (2.6 + cos(i * turn)) / WIDTH;
    uv[8 + 2 * i + 1] = (1.5 + sin(i * turn)) / DEPTH;
  }
  const int sizes[] = {4, CIRCLE_POINTS, SLOT_POINTS};
  const int types[] = {MORVEL_OUTER_LOOP, MORVEL_INNER_LOOP, MORVEL_INNER_LOOP};
  const int is_outer[] = {1, 0, 0};
  const int plate = create_trimmed_surface_from_polygons(base, uv, 4 + CIRCLE_POINTS + SLOT_POINTS,
                                                         sizes, types, is_outer, 3, NULL);
  delete_surface(base); /* the plate keeps what it needs of it */
  return plate;
}

static int write_obj(const char* name, const double* vertices, int vertex_count, const int* indices,
                     int index_count) {
  FILE* file = fopen(name, "w");
  if (!file) return 1;
  for (int i = 0; i < vertex_count; ++i)
    fprintf(file, "v %.9g %.9g %.9g\n", vertices[3 * i], vertices[3 * i + 1], vertices[3 * i + 2]);
  for (int i = 0; i < index_count; i += 3)
    fprintf(file, "f %d %d %d\n", indices[i] + 1, indices[i + 1] + 1, indices[i + 2] + 1);
  return fclose(file);
}

/* The area of triangles that lie in the plane z = 0. */
static double flat_area(const double* vertices, const int* indices, int index_count) {
  double area = 0;
  for (int i = 0; i < index_count; i += 3) {
    const double *a = vertices + 3 * indices[i], *b = vertices + 3 * indices[i + 1],
                 *c = vertices + 3 * indices[i + 2];
    area += fabs((b[0] - a[0]) * (c[1] - a[1]) - (c[0] - a[0]) * (b[1] - a[1])) / 2;
  }
  return area;
}

int main(int argc, char** argv) {
  set_log_level(MORVEL_LOG_ERROR);
  const int plate = make_plate();
  if (plate < 0) return fail("the plate");

  const double probes[] = {0.5, 0.1, 0.65, 0.5, 0.15, 0.5, 0.95, 0.95};
  int where[4];
  if (classify_points_in_trimmed_surface(plate, probes, 4, where) != 0) return fail("classifying");
  printf("corner strip %d, round hole %d, slot %d, corner %d (1 on the plate, 0 off it)\n",
         where[0], where[1], where[2], where[3]);

  /* Asked without room, the function tells how much it needs. */
  int vertex_count = 0, index_count = 0;
  double none;
  int no_index;
  tessellate_trimmed_surface_visible_region(plate, RESOLUTION, RESOLUTION, &none, 0, &vertex_count,
                                            &no_index, 0, &index_count);
  double* vertices = malloc(3 * sizeof *vertices * (size_t)vertex_count);
  int* indices = malloc(sizeof *indices * (size_t)index_count);
  if (!vertices || !indices ||
      tessellate_trimmed_surface_visible_region(plate, RESOLUTION, RESOLUTION, vertices,
                                                vertex_count, &vertex_count, indices, index_count,
                                                &index_count) != 0)
    return fail("tessellate_trimmed_surface_visible_region");

  /* The hole is a polygon of 200 corners. */
  const double turn = 2 * acos(-1.0) / CIRCLE_POINTS;
  const double expected = WIDTH * DEPTH - CIRCLE_POINTS * sin(turn) / 2 - 0.4 * 1.8;
  double area;
  if (get_trimmed_surface_info(plate, &area, NULL, NULL, NULL, NULL) != 0) return fail("its area");
  printf("area %.6f, of the triangles %.6f, by hand %.6f\n", area,
         flat_area(vertices, indices, index_count), expected);

  const int failed = argc > 1 && write_obj(argv[1], vertices, vertex_count, indices, index_count);
  if (failed) perror(argv[1]);
  free(vertices);
  free(indices);
  delete_surface(plate);
  return failed;
}
