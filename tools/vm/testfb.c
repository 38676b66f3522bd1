// SPDX-License-Identifier: GPL-2.0
// testfb: a framebuffer driver for QEMU's "bochs-display". For tests only.
//
// By default a well-behaved board: 320 x 480 x 32, memory for three screens, panning that takes
// effect at the vertical sync, 60 of those a second. Parameters give it the oddities that real
// drivers have.
#include <linux/delay.h>
#include <linux/fb.h>
#include <linux/hrtimer.h>
#include <linux/module.h>
#include <linux/pci.h>
#include <linux/string.h>
#include <linux/wait.h>

static int xres = 320;
static int yres = 480;
static int screens = 3;
static int hz = 60;
static int granted = 0;
static int padding = 0;
static int depth = 0;
static bool silent = false;
static char* pan = "real";
static char* sync = "real";

module_param(xres, int, 0444);
module_param(yres, int, 0444);
module_param(screens, int, 0444);
module_param(hz, int, 0444);
module_param(granted, int, 0444);
module_param(padding, int, 0444);
module_param(depth, int, 0444);
module_param(silent, bool, 0444);
module_param(pan, charp, 0444);
module_param(sync, charp, 0444);
MODULE_PARM_DESC(screens, "Whole screens in the memory");
MODULE_PARM_DESC(granted, "Screens that a virtual size is silently cut down to; 0: no limit");
MODULE_PARM_DESC(padding, "Pixels behind each row");
MODULE_PARM_DESC(depth, "The only number of bits a pixel; 0: 16 or 32");
MODULE_PARM_DESC(silent, "Another depth is answered with the own one instead of an error");
MODULE_PARM_DESC(pan, "real, none, refused, ignored (says success, and stays where it was)");
MODULE_PARM_DESC(sync, "real, none, now (comes at once), interrupted, timeout");

struct testfb {
  void __iomem* registers;
  struct hrtimer timer;
  wait_queue_head_t waiting;
  u64 syncs;
  u32 wanted; /* first row of the screen from the next sync on */
  u32 shown;  /* first row of the screen now */
  u32 palette[16];
};

/* The display's registers, words of 16 bits. */
enum {
  REG_XRES = 1,
  REG_YRES = 2,
  REG_DEPTH = 3,
  REG_ENABLE = 4,
  REG_LINE = 6, /* pixels from row to row */
  REG_XOFFSET = 8,
  REG_YOFFSET = 9,
};
#define ENABLED 0x41 /* on, and all of the memory is mapped */

static void set_register(struct testfb* fb, int index, u16 value) {
  writew(value, fb->registers + 0x500 + index * 2);
}

static bool is(const char* parameter, const char* value) { return strcmp(parameter, value) == 0; }

static u32 line_bytes(u32 bits) { return (xres + padding) * bits / 8; }

static int check_var(struct fb_var_screeninfo* var, struct fb_info* info) {
  const u32 rows = granted ? granted * yres : U32_MAX;
  if (depth && var->bits_per_pixel != depth) {
    if (!silent) return -EINVAL;
    var->bits_per_pixel = depth;
  }
  if (var->bits_per_pixel != 16 && var->bits_per_pixel != 32) return -EINVAL;
  if (var->xres != xres || var->yres != yres) return -EINVAL;
  var->xres_virtual = xres;
  var->yres_virtual = clamp(var->yres_virtual, (u32)yres, rows);
  if ((u64)var->yres_virtual * line_bytes(var->bits_per_pixel) > info->fix.smem_len) return -EINVAL;
  if (var->yoffset + yres > var->yres_virtual) var->yoffset = 0;
  if (var->bits_per_pixel == 32) {
    var->red = (struct fb_bitfield){16, 8, 0};
    var->green = (struct fb_bitfield){8, 8, 0};
    var->blue = (struct fb_bitfield){0, 8, 0};
    var->transp = (struct fb_bitfield){24, 8, 0};
  } else {
    var->red = (struct fb_bitfield){11, 5, 0};
    var->green = (struct fb_bitfield){5, 6, 0};
    var->blue = (struct fb_bitfield){0, 5, 0};
    var->transp = (struct fb_bitfield){0, 0, 0};
  }
  return 0;
}

static int set_par(struct fb_info* info) {
  struct testfb* fb = info->par;
  info->fix.line_length = line_bytes(info->var.bits_per_pixel);
  set_register(fb, REG_ENABLE, 0);
  set_register(fb, REG_XRES, xres);
  set_register(fb, REG_YRES, yres);
  set_register(fb, REG_DEPTH, info->var.bits_per_pixel);
  set_register(fb, REG_LINE, xres + padding);
  set_register(fb, REG_ENABLE, ENABLED);
  set_register(fb, REG_XOFFSET, 0);
  set_register(fb, REG_YOFFSET, info->var.yoffset);
  fb->wanted = fb->shown = info->var.yoffset;
  return 0;
}

static int pan_display(struct fb_var_screeninfo* var, struct fb_info* info) {
  struct testfb* fb = info->par;
  if (is(pan, "refused") && var->yoffset != info->var.yoffset) return -EIO;
  if (is(pan, "ignored")) var->yoffset = info->var.yoffset;
  WRITE_ONCE(fb->wanted, var->yoffset);
  return 0;
}

static enum hrtimer_restart on_sync(struct hrtimer* timer) {
  struct testfb* fb = container_of(timer, struct testfb, timer);
  const u32 wanted = READ_ONCE(fb->wanted);
  if (wanted != fb->shown) {
    set_register(fb, REG_YOFFSET, wanted);
    fb->shown = wanted;
  }
  fb->syncs++;
  wake_up_interruptible_all(&fb->waiting);
  hrtimer_forward_now(timer, ns_to_ktime(NSEC_PER_SEC / hz));
  return HRTIMER_RESTART;
}

static int wait_for_sync(struct testfb* fb) {
  const u64 seen = READ_ONCE(fb->syncs);
  if (is(sync, "none")) return -ENOTTY;
  if (is(sync, "now")) return 0;
  if (is(sync, "interrupted")) return -EINTR;
  if (is(sync, "timeout")) {
    msleep(300);
    return -ETIMEDOUT;
  }
  return wait_event_interruptible_timeout(fb->waiting, READ_ONCE(fb->syncs) != seen, HZ) > 0
             ? 0
             : -ETIMEDOUT;
}

static int fb_request(struct fb_info* info, unsigned int code, unsigned long argument) {
  return code == FBIO_WAITFORVSYNC ? wait_for_sync(info->par) : -ENOTTY;
}

static int set_colour(unsigned int index, unsigned int red, unsigned int green, unsigned int blue,
                      unsigned int alpha, struct fb_info* info) {
  u32* palette = info->pseudo_palette;
  if (index < 16) palette[index] = (red >> 8) << 16 | (green & 0xff00) | blue >> 8;
  return 0;
}

static const struct fb_ops operations = {
    .owner = THIS_MODULE,
    .fb_check_var = check_var,
    .fb_set_par = set_par,
    .fb_pan_display = pan_display,
    .fb_ioctl = fb_request,
    .fb_setcolreg = set_colour,
    .fb_fillrect = cfb_fillrect,
    .fb_copyarea = cfb_copyarea,
    .fb_imageblit = cfb_imageblit,
};

static void describe(struct fb_info* info, struct pci_dev* device) {
  const bool pans = !is(pan, "none");
  strscpy(info->fix.id, "testfb", sizeof(info->fix.id));
  info->fix.smem_start = pci_resource_start(device, 0);
  info->fix.smem_len = PAGE_ALIGN(line_bytes(32) * yres * screens);
  info->fix.type = FB_TYPE_PACKED_PIXELS;
  info->fix.visual = FB_VISUAL_TRUECOLOR;
  info->fix.ypanstep = pans ? 1 : 0;
  info->flags = FBINFO_DEFAULT | (pans ? FBINFO_HWACCEL_YPAN : 0);
  info->var.xres = info->var.xres_virtual = xres;
  info->var.yres = info->var.yres_virtual = yres;
  info->var.bits_per_pixel = depth ? depth : 32;
}

static int probe(struct pci_dev* device, const struct pci_device_id* id) {
  struct testfb* fb;
  struct fb_info* info;
  int error = pcim_enable_device(device);
  if (error) return error;
  info = framebuffer_alloc(sizeof(*fb), &device->dev);
  if (!info) return -ENOMEM;
  fb = info->par;
  fb->registers = pcim_iomap(device, 2, 0);
  info->screen_base = pcim_iomap(device, 0, 0);
  if (!fb->registers || !info->screen_base) {
    framebuffer_release(info);
    return -ENOMEM;
  }
  info->fbops = &operations;
  info->pseudo_palette = fb->palette;
  describe(info, device);
  check_var(&info->var, info);
  set_par(info);
  init_waitqueue_head(&fb->waiting);
  pci_set_drvdata(device, info);
  error = register_framebuffer(info);
  if (error) {
    framebuffer_release(info);
    return error;
  }
  hrtimer_init(&fb->timer, CLOCK_MONOTONIC, HRTIMER_MODE_REL);
  fb->timer.function = on_sync;
  hrtimer_start(&fb->timer, ns_to_ktime(NSEC_PER_SEC / hz), HRTIMER_MODE_REL);
  return 0;
}

static void remove(struct pci_dev* device) {
  struct fb_info* info = pci_get_drvdata(device);
  struct testfb* fb = info->par;
  unregister_framebuffer(info);
  hrtimer_cancel(&fb->timer);
  framebuffer_release(info);
}

static const struct pci_device_id ids[] = {{PCI_DEVICE(0x1234, 0x1111)}, {}};
MODULE_DEVICE_TABLE(pci, ids);

static struct pci_driver testfb_driver = {
    .name = "testfb",
    .id_table = ids,
    .probe = probe,
    .remove = remove,
};

module_pci_driver(testfb_driver);
MODULE_DESCRIPTION("A framebuffer with oddities, for tests");
MODULE_LICENSE("GPL");
