// SPDX-License-Identifier: Apache-2.0
import arvessa.FrontEnd;
import arvessa.Recorder;

/** Raw samples of two microphones through the example's classes, after what they have to refuse. */
public final class Main {
    private static void refused(Class<?> expected, Runnable call) {
        try {
            call.run();
        } catch (RuntimeException refusal) {
            if (expected.isInstance(refusal)) return;
        }
        throw new AssertionError("no " + expected);
    }

    public static void main(String[] arguments) {
        FrontEnd frontEnd = new FrontEnd(true, true);
        short[] frame = new short[FrontEnd.FRAME];
        refused(IllegalArgumentException.class, () -> frontEnd.process(frame, frame));
        frontEnd.close();
        frontEnd.close();
        refused(IllegalStateException.class, () -> frontEnd.process(new short[160], frame));

        new Recorder(clean -> {
            for (short sample : clean) {
                System.out.write(sample);
                System.out.write(sample >> 8);
            }
        }).run();
        System.out.flush();
    }
}
