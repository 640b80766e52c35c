#!/usr/bin/python3
# Storage that takes SECONDS for every operation under one folder, as an
# offline share or a host that does not answer would: a FUSE passthrough of
# ROOT mounted at MOUNT, where everything at or below MOUNT/SLOW waits before
# it answers. The wineserver is answered at once: under Wine it opens files and
# sets change watches for every process of the prefix, so making it wait would
# hold every program, not only the thread that asked.
#   slow-storage.py ROOT MOUNT SLOW SECONDS
import errno
import os
import sys
import time

from fusepy import FUSE, FuseOSError, Operations, fuse_get_context


def caller_is_wineserver():
    try:
        with open('/proc/%d/comm' % fuse_get_context()[2]) as comm:
            return comm.read().startswith('wineserver')
    except OSError:
        return False


class SlowPassthrough(Operations):
    def __init__(self, root, slow, seconds):
        self.root = root
        self.slow = '/' + slow.strip('/')
        self.seconds = seconds

    def __call__(self, op, path, *args):
        if (path == self.slow or path.startswith(self.slow + '/')) and not caller_is_wineserver():
            time.sleep(self.seconds)
        return super().__call__(op, path, *args)

    def real(self, path):
        return os.path.join(self.root, path.lstrip('/'))

    def access(self, path, mode):
        if not os.access(self.real(path), mode):
            raise FuseOSError(errno.EACCES)

    def getattr(self, path, fh=None):
        st = os.lstat(self.real(path))
        return {key: getattr(st, key) for key in ('st_atime', 'st_ctime', 'st_gid', 'st_mode', 'st_mtime',
                                                  'st_nlink', 'st_size', 'st_uid')}

    def readdir(self, path, fh):
        return ['.', '..'] + os.listdir(self.real(path))

    def statfs(self, path):
        st = os.statvfs(self.real(path))
        return {key: getattr(st, key) for key in ('f_bavail', 'f_bfree', 'f_blocks', 'f_bsize', 'f_favail',
                                                  'f_ffree', 'f_files', 'f_flag', 'f_frsize', 'f_namemax')}

    def open(self, path, flags):
        return os.open(self.real(path), flags)

    def create(self, path, mode, fi=None):
        return os.open(self.real(path), os.O_WRONLY | os.O_CREAT, mode)

    def read(self, path, size, offset, fh):
        return os.pread(fh, size, offset)

    def write(self, path, data, offset, fh):
        return os.pwrite(fh, data, offset)

    def truncate(self, path, length, fh=None):
        os.truncate(self.real(path), length)

    def release(self, path, fh):
        os.close(fh)

    def mkdir(self, path, mode):
        os.mkdir(self.real(path), mode)

    def rmdir(self, path):
        os.rmdir(self.real(path))

    def unlink(self, path):
        os.unlink(self.real(path))

    def rename(self, old, new):
        os.rename(self.real(old), self.real(new))

    def chmod(self, path, mode):
        os.chmod(self.real(path), mode)

    def utimens(self, path, times=None):
        os.utime(self.real(path), times)


if __name__ == '__main__':
    root, mount, slow, seconds = sys.argv[1], sys.argv[2], sys.argv[3], float(sys.argv[4])
    FUSE(SlowPassthrough(root, slow, seconds), mount, foreground=True, nothreads=False, attr_timeout=0,
         entry_timeout=0)
