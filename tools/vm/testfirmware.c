// SPDX-License-Identifier: GPL-2.0
// testfirmware: leaves behind what a machine's firmware does, for tests only: QEMU's "VGA" in a mode, and a
// platform device that tells of its linear framebuffer. The kernel's simple drivers bind to it by its name.
#include <drm/drm_fourcc.h>
#include <linux/fb.h>
#include <linux/module.h>
#include <linux/pci.h>
#include <linux/platform_data/simplefb.h>
#include <linux/platform_device.h>

static int xres = 640;
static int yres = 480;
static int padding = 0;
static char* format = "x8r8g8b8";
static char* driver = "simple-framebuffer";

module_param(xres, int, 0444);
module_param(yres, int, 0444);
module_param(padding, int, 0444);
module_param(format, charp, 0444);
module_param(driver, charp, 0444);
MODULE_PARM_DESC(padding, "Pixels behind each row");
MODULE_PARM_DESC(format, "A name of the simple framebuffer's formats");
MODULE_PARM_DESC(driver, "The driver that is to have the device");

static struct platform_device* told;
static struct pci_dev* display;

/* Word registers that set a mode: see testfb.c. */
static void set_mode(void __iomem* registers, u16 depth) {
  const u16 values[][2] = {{4, 0}, {1, xres},           {2, yres}, {3, depth},
                           {4, 0x41}, {6, xres + padding}, {8, 0},    {9, 0}};
  int i;
  writeb(0x20, registers + 0x400); /* the picture is on */
  for (i = 0; i < ARRAY_SIZE(values); ++i) {
    writew(values[i][1], registers + 0x500 + values[i][0] * 2);
  }
}

static int tell(u32 bytes) {
  const struct simplefb_platform_data data = {xres, yres, (xres + padding) * bytes, format};
  const struct resource memory =
      DEFINE_RES_MEM(pci_resource_start(display, 0), PAGE_ALIGN(data.stride * yres));
  told = platform_device_register_resndata(NULL, driver, 0, &memory, 1, &data, sizeof(data));
  return PTR_ERR_OR_ZERO(told);
}

static int __init start(void) {
  static const struct simplefb_format formats[] = SIMPLEFB_FORMATS;
  void __iomem* registers;
  int i = 0;
  int error;
  while (i < ARRAY_SIZE(formats) && strcmp(formats[i].name, format) != 0) ++i;
  display = pci_get_device(0x1234, 0x1111, NULL);
  if (i == ARRAY_SIZE(formats) || !display) return -ENODEV;
  error = pci_enable_device(display);
  registers = error ? NULL : pci_iomap(display, 2, 0);
  if (registers) {
    set_mode(registers, formats[i].bits_per_pixel);
    pci_iounmap(display, registers);
    error = tell(formats[i].bits_per_pixel / 8);
  }
  if (error || !registers) pci_dev_put(display);
  return registers ? error : -ENOMEM;
}

static void __exit end(void) {
  platform_device_unregister(told);
  pci_dev_put(display);
}

module_init(start);
module_exit(end);
MODULE_DESCRIPTION("A framebuffer as firmware leaves it, for tests");
MODULE_LICENSE("GPL");
