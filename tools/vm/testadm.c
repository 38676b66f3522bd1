// SPDX-License-Identifier: GPL-2.0
// testadm: /dev/msm_adm, the data mover, in software, for any framebuffer. For tests only.
//
// Its one request copies a rectangle of 32-bit pixels between two places in framebuffer memory.
#include <linux/fb.h>
#include <linux/file.h>
#include <linux/fs.h>
#include <linux/io.h>
#include <linux/major.h>
#include <linux/miscdevice.h>
#include <linux/module.h>
#include <linux/slab.h>
#include <linux/uaccess.h>

#define COPY_REQUEST 0x40044B01

struct region {
  u32 height, width, stride, offset, fd;
};

struct request {
  struct region source, destination;
};

/* The framebuffer that a descriptor of the caller leads to, or NULL. */
static struct fb_info* framebuffer_of(u32 fd) {
  struct fb_info* info = NULL;
  struct fd f = fdget(fd);
  if (!f.file) return NULL;
  if (imajor(file_inode(f.file)) == FB_MAJOR) info = f.file->private_data;
  fdput(f);
  return info;
}

static bool lies_inside(const struct region* r, const struct fb_info* info) {
  return r->height > 0 && r->width > 0 &&
         r->offset + (u64)r->stride * (r->height - 1) + (u64)r->width * 4 <= info->fix.smem_len;
}

static long copy(const struct region* from, const struct region* to) {
  const struct fb_info* source = framebuffer_of(from->fd);
  const struct fb_info* destination = framebuffer_of(to->fd);
  u32 y;
  void* row;
  if (!source || !destination) return -EBADF;
  if (from->width != to->width || from->height != to->height) return -EINVAL;
  if (!lies_inside(from, source) || !lies_inside(to, destination)) return -EFAULT;
  row = kmalloc(from->width * 4, GFP_KERNEL);
  if (!row) return -ENOMEM;
  for (y = 0; y < from->height; ++y) {
    memcpy_fromio(row, source->screen_base + from->offset + from->stride * y, from->width * 4);
    memcpy_toio(destination->screen_base + to->offset + to->stride * y, row, from->width * 4);
  }
  kfree(row);
  return 0;
}

static long adm_ioctl(struct file* file, unsigned int code, unsigned long argument) {
  struct request request;
  if (code != COPY_REQUEST) return -ENOTTY;
  if (copy_from_user(&request, (const void __user*)argument, sizeof(request))) return -EFAULT;
  return copy(&request.source, &request.destination);
}

static const struct file_operations operations = {
    .owner = THIS_MODULE,
    .unlocked_ioctl = adm_ioctl,
};

static struct miscdevice device = {
    .minor = MISC_DYNAMIC_MINOR,
    .name = "msm_adm",
    .fops = &operations,
};

module_misc_device(device);
MODULE_DESCRIPTION("A data mover in software, for tests");
MODULE_LICENSE("GPL");
