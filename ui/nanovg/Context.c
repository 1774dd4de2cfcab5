/* NanoVG's drawing context. The packaged source names an enum without its keyword, which C does
   not know, so it does not compile on its own. */
#include <nanovg.h>

typedef enum NVGtexture NVGtexture;

#include <nanovg.c>
