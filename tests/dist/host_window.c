/* A screen-saver host stand-in for the tests, as xscreensaver would be:
 *   host_window create W H   makes and maps a black window, prints its id,
 *                            destroys it when a line (or EOF) comes on stdin
 *   host_window sum ID       prints a hash of the window's pixels and how
 *                            many of them differ from their left neighbour
 *                            (0 for a plain window, thousands for a picture)
 */
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int create(Display* d, int w, int h) {
  Window win = XCreateSimpleWindow(d, DefaultRootWindow(d), 0, 0, (unsigned)w, (unsigned)h, 0, 0,
                                   BlackPixel(d, DefaultScreen(d)));
  XMapWindow(d, win);
  XSync(d, False);
  printf("%lu\n", (unsigned long)win);
  fflush(stdout);
  char line[64];
  if (!fgets(line, sizeof line, stdin)) line[0] = 0;
  XDestroyWindow(d, win);
  XSync(d, False);
  return 0;
}

static int sum(Display* d, Window win) {
  XWindowAttributes a;
  if (!XGetWindowAttributes(d, win, &a)) return 1;
  XImage* img = XGetImage(d, win, 0, 0, (unsigned)a.width, (unsigned)a.height, AllPlanes, ZPixmap);
  if (!img) return 1;
  uint64_t hash = 1469598103934665603ull;
  long edges = 0;
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < a.width; ++x) {
      unsigned long p = XGetPixel(img, x, y);
      hash = (hash ^ p) * 1099511628211ull;
      if (x > 0 && p != XGetPixel(img, x - 1, y)) ++edges;
    }
  printf("%016llx %ld\n", (unsigned long long)hash, edges);
  XDestroyImage(img);
  return 0;
}

int main(int argc, char** argv) {
  Display* d = XOpenDisplay(NULL);
  if (!d) {
    fprintf(stderr, "host_window: no display\n");
    return 2;
  }
  int rc = 2;
  if (argc == 4 && strcmp(argv[1], "create") == 0) rc = create(d, atoi(argv[2]), atoi(argv[3]));
  else if (argc == 3 && strcmp(argv[1], "sum") == 0) rc = sum(d, (Window)strtoul(argv[2], NULL, 0));
  else fprintf(stderr, "usage: host_window create W H | host_window sum ID\n");
  XCloseDisplay(d);
  return rc;
}
