package com.example.kavel;

import android.os.IBinder;
import android.os.Parcel;
import android.os.RemoteException;
import android.os.ServiceManager;

/**
 * Both calls of dravo_kavel. Works in the framework and in platform apps: ServiceManager is not a
 * public interface, and SELinux must allow the caller (see docs/reporting.md). The calls do not
 * wait for the daemon. Any thread.
 */
public final class KavelReporter {
    private static final String SERVICE = "KavelBinderService";
    private static final String TOKEN = "KavelBinder";
    private static final int SEND_FRAMEWORK_EVENT = IBinder.FIRST_CALL_TRANSACTION;
    private static final int UPDATE_EVENT_PARAMS = IBinder.FIRST_CALL_TRANSACTION + 1;

    private KavelReporter() {}

    /**
     * Reports one event. Returns false if the daemon does not run, or its queue is full: do not
     * retry, because a retry in a storm of reports makes the storm longer.
     *
     * @param logInfo which logs to collect. An int on purpose: a larger value ends the daemon
     * @param extraInfo in the form that the event type has
     */
    public static boolean sendFrameworkEvent(
            long eventId, int logInfo, int pid, int uid, String extraInfo) {
        final Parcel data = Parcel.obtain();
        try {
            data.writeInterfaceToken(TOKEN);
            data.writeLong(eventId);
            data.writeLong(System.currentTimeMillis());
            data.writeLong(logInfo);
            data.writeInt(pid);
            data.writeInt(uid);
            data.writeString(extraInfo);
            return send(SEND_FRAMEWORK_EVENT, data);
        } finally {
            data.recycle();
        }
    }

    /**
     * Configures one event type. The daemon loses the settings when it ends: call again after each
     * of its starts. IBinder.linkToDeath reports its end.
     *
     * @param timeWindowMs below 1000: each event gets an archive of its own
     * @param recoverId 0 for none
     */
    public static boolean updateEventParams(
            long eventId, String eventName, boolean enable, long timeWindowMs, long recoverId) {
        final long reportFreq = 0; // without effect
        final long logInfo = 0; // ignored
        final Parcel data = Parcel.obtain();
        try {
            data.writeInterfaceToken(TOKEN);
            data.writeLong(eventId);
            data.writeString(eventName);
            data.writeBoolean(enable);
            data.writeLong(reportFreq);
            data.writeLong(logInfo);
            data.writeLong(timeWindowMs);
            data.writeLong(recoverId);
            return send(UPDATE_EVENT_PARAMS, data);
        } finally {
            data.recycle();
        }
    }

    private static boolean send(int code, Parcel data) {
        // Look the service up each time: an earlier binder is dead after a restart of the daemon.
        final IBinder service = ServiceManager.checkService(SERVICE);
        if (service == null) return false;
        try {
            return service.transact(code, data, null, IBinder.FLAG_ONEWAY);
        } catch (RemoteException e) {
            return false;
        }
    }
}
