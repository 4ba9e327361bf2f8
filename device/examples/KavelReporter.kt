package com.example.kavel

import android.os.IBinder
import android.os.Parcel
import android.os.RemoteException
import android.os.ServiceManager

/** Both calls of dravo_kavel. See KavelReporter.java for details. */
object KavelReporter {
    private const val SERVICE = "KavelBinderService"
    private const val TOKEN = "KavelBinder"
    private const val SEND_FRAMEWORK_EVENT = IBinder.FIRST_CALL_TRANSACTION
    private const val UPDATE_EVENT_PARAMS = IBinder.FIRST_CALL_TRANSACTION + 1

    /** Reports one event; false if the daemon does not run or its queue is full. */
    fun sendFrameworkEvent(
        eventId: Long, logInfo: Int, pid: Int, uid: Int, extraInfo: String
    ): Boolean = send(SEND_FRAMEWORK_EVENT) { data ->
        data.writeInterfaceToken(TOKEN)
        data.writeLong(eventId)
        data.writeLong(System.currentTimeMillis())
        data.writeLong(logInfo.toLong())
        data.writeInt(pid)
        data.writeInt(uid)
        data.writeString(extraInfo)
    }

    /** Configures one event type, until the daemon ends. */
    fun updateEventParams(
        eventId: Long, eventName: String, enable: Boolean, timeWindowMs: Long, recoverId: Long = 0L
    ): Boolean = send(UPDATE_EVENT_PARAMS) { data ->
        data.writeInterfaceToken(TOKEN)
        data.writeLong(eventId)
        data.writeString(eventName)
        data.writeBoolean(enable)
        data.writeLong(0L) // reporting frequency, without effect
        data.writeLong(0L) // log-info word, ignored
        data.writeLong(timeWindowMs)
        data.writeLong(recoverId)
    }

    private fun send(code: Int, write: (Parcel) -> Unit): Boolean {
        val service = ServiceManager.checkService(SERVICE) ?: return false
        val data = Parcel.obtain()
        try {
            write(data)
            return service.transact(code, data, null, IBinder.FLAG_ONEWAY)
        } catch (e: RemoteException) {
            return false
        } finally {
            data.recycle()
        }
    }
}
