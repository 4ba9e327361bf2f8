#!/bin/sh
# arm64-program.sh SYSROOT PROGRAM: replaces PROGRAM by a script that runs the arm64 program
# PROGRAM.elf in the same folder, with qemu's user mode and the libraries of SYSROOT.
set -eu
cat > "$2" << END
#!/bin/sh
exec qemu-aarch64-static -L '$1' -0 "\$0" "\$0.elf" "\$@"
END
chmod +x "$2"
