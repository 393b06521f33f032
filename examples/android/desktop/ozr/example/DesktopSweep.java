package ozr.example;

import java.nio.ByteBuffer;

/** Drives the natives on a desktop JVM as Panorama does on a phone: a camera pans along a painted wall. */
final class DesktopSweep {
    private static final int WIDTH = 320, HEIGHT = 240, STEP = 8, POSITIONS = 40;
    private static final int WALL = WIDTH + STEP * POSITIONS; // its width, and the stride of every view of it
    private static final int RIGHT = 1, INVALID_ARGUMENT = -3, OUT_OF_BOUND = -4, INVALID_STATUS = -6;
    private static final int CLASSIC = 0, REFINED = 1;

    private static final ByteBuffer wall = paintedWall();
    // V and U alternate, as from most cameras: a reddish wall.
    private static final ByteBuffer v = alternating((byte) 180, (byte) 100, WIDTH * HEIGHT / 2);
    private static final ByteBuffer u = from(v, 1);

    public static void main(String[] arguments) throws InterruptedException {
        sweepMakesAPanorama(CLASSIC, 576);
        sweepMakesAPanorama(REFINED, 480);
        buffersAreChecked();
        cancelEndsASweep();
    }

    private static void sweepMakesAPanorama(int quality, int width) {
        long session = newSession();
        require(PanoramaNative.setQuality(session, quality) == 0, "quality");
        require(stitch(session, 0, null) == 0, "first picture");
        int pictures = 1;
        int[] motion = new int[3];
        for (int position = 1; position <= POSITIONS; ++position) {
            int due = PanoramaNative.detect(session, from(wall, STEP * position), WIDTH, HEIGHT, WALL, motion);
            require(due >= 0, PanoramaNative.errorName(due));
            if (due > 0) {
                require(stitch(session, position, motion) == 0, "picture " + due);
                ++pictures;
            }
        }
        int[] size = new int[2];
        require(motion[2] == RIGHT, "direction " + motion[2]);
        require(PanoramaNative.run(session, size) == 0, "run");
        System.out.printf("%d pictures, %d x %d%n", pictures, size[0], size[1]);
        require(pictures >= 4 && size[0] >= width && size[1] >= 180, "size");
        jointsAreTold(session, pictures);

        ByteBuffer pixels = ByteBuffer.allocateDirect(size[0] * size[1] * 4);
        require(PanoramaNative.copyRgba(session, pixels) == 0, "copy");
        require(PanoramaNative.copyRgba(session, from(pixels, 1)) == INVALID_ARGUMENT, "copy into too little");
        int middle = (size[1] / 2 * size[0] + size[0] / 2) * 4;
        int red = pixels.get(middle) & 255, blue = pixels.get(middle + 2) & 255, alpha = pixels.get(middle + 3) & 255;
        require(red > blue + 50 && alpha == 255, "colour " + red + " " + blue + " " + alpha);
        PanoramaNative.destroy(session);
    }

    private static void jointsAreTold(long session, int count) {
        int[] pictures = new int[3];
        float[] values = new float[5];
        for (int i = 0; i + 1 < count; ++i) {
            require(PanoramaNative.joint(session, i, pictures, values) == 0, "joint " + i);
            require(pictures[0] == i && pictures[1] == i + 1 && pictures[2] == 1, "pictures of joint " + i);
            require(values[0] > 50 && values[3] >= 0.5, "joint " + i + ": " + values[0] + ", " + values[3]);
        }
        require(PanoramaNative.joint(session, count - 1, pictures, values) == OUT_OF_BOUND, "one joint more");
    }

    private static void buffersAreChecked() {
        long session = newSession();
        int[] motion = new int[3];
        ByteBuffer heap = ByteBuffer.allocate(WALL * HEIGHT);
        ByteBuffer exact = ByteBuffer.allocateDirect((HEIGHT - 1) * WALL + WIDTH);
        require(stitch(session, 0, null) == 0, "first picture");
        require(PanoramaNative.detect(session, heap, WIDTH, HEIGHT, WALL, motion) == INVALID_ARGUMENT, "heap");
        require(PanoramaNative.detect(session, exact, WIDTH, HEIGHT, WALL, motion) == 0, "exact");
        require(PanoramaNative.detect(session, from(exact, 1), WIDTH, HEIGHT, WALL, motion) == INVALID_ARGUMENT,
                "a byte too few");
        PanoramaNative.destroy(session);
    }

    private static void cancelEndsASweep() throws InterruptedException {
        long session = newSession();
        require(stitch(session, 0, null) == 0 && stitch(session, 12, null) == 0, "pictures");
        Thread user = new Thread(() -> PanoramaNative.cancel(session));
        user.start();
        user.join();
        require(PanoramaNative.run(session, new int[2]) == INVALID_STATUS, "run after cancel");
        PanoramaNative.destroy(session);
    }

    private static long newSession() {
        long session = PanoramaNative.create();
        require(session != 0 && PanoramaNative.setParameters(session, 70, RIGHT) == 0, "session");
        return session;
    }

    private static int stitch(long session, int position, int[] motion) {
        int copied = PanoramaNative.copyPicture(
                session, from(wall, STEP * position), WALL, u, v, WIDTH, 2, WIDTH, HEIGHT);
        return copied == 0 ? PanoramaNative.stitch(session, motion) : copied;
    }

    // Brightness that changes smoothly from spot to spot.
    private static ByteBuffer paintedWall() {
        ByteBuffer pixels = ByteBuffer.allocateDirect(WALL * HEIGHT);
        for (int y = 0; y < HEIGHT; ++y) {
            for (int x = 0; x < WALL; ++x) {
                int i = x / 16, j = y / 16, right = x % 16, down = y % 16;
                int above = corner(i, j) * (16 - right) + corner(i + 1, j) * right;
                int below = corner(i, j + 1) * (16 - right) + corner(i + 1, j + 1) * right;
                pixels.put((byte) ((above * (16 - down) + below * down) >> 8));
            }
        }
        return pixels;
    }

    private static int corner(int i, int j) {
        int mixed = (i * 7919 + j * 104729) * 0x9E3779B1;
        return 40 + ((mixed ^ mixed >>> 15) * 0x85EBCA6B >>> 24) * 160 / 255;
    }

    private static ByteBuffer alternating(byte even, byte odd, int size) {
        ByteBuffer bytes = ByteBuffer.allocateDirect(size);
        for (int i = 0; i < size; ++i) bytes.put(i, i % 2 == 0 ? even : odd);
        return bytes;
    }

    private static ByteBuffer from(ByteBuffer buffer, int position) {
        ByteBuffer copy = buffer.duplicate();
        copy.position(position);
        return copy.slice();
    }

    private static void require(boolean fact, String what) {
        if (!fact) throw new AssertionError(what);
    }
}
